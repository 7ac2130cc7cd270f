#pragma once

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

/// Servers on loopback, in a throw-away folder, until the object is destroyed.
class RealServers
{
public:
    /// A folder that a server shows to user().
    struct Store
    {
        QString folder; ///< where it is on this machine
        quint16 port; ///< 0 when the server does not run
        QString root; ///< what the user puts in front of a path; "" or a folder
    };

    /// Starts those of "nginx", "php", "proftpd" and "openssh" that are named. PHP runs script; without one it tells
    /// what a form brought.
    explicit RealServers(const QStringList& names, const QString& script = QString())
    {
        const QString owner = QString::number(QCoreApplication::applicationPid());
        for (const QString& name : names) {
            run({ name, mFolder.path(), owner, script });
        }
    }
    ~RealServers() { run({ "stop", mFolder.path() }); }

    QString http(const QString& path) const { return "http://127.0.0.1:" + mPrinted["HTTP_PORT"] + path; }
    QString https(const QString& path) const { return "https://127.0.0.1:" + mPrinted["HTTPS_PORT"] + path; }
    QString php() const { return "http://127.0.0.1:" + mPrinted["PHP_PORT"] + '/'; }
    /// A file that nginx serves.
    QString served(const QString& name) const { return mFolder.filePath("www/" + name); }

    /// The account for all stores.
    QString user() const { return mPrinted["USER_NAME"]; }
    QString password() const { return mPrinted["PASSWORD"]; }
    /// ProFTPD, in clear or with explicit TLS; with implicit TLS; over SFTP. All three show the same folder.
    Store ftp() const { return store("ftp", "FTP_PORT"); }
    Store ftps() const { return store("ftp", "FTPS_PORT"); }
    Store proftpdSftp() const { return store("ftp", "PSFTP_PORT", "FTP_ROOT"); }
    /// OpenSSH, which runs for root only.
    Store openssh() const { return store("ssh", "SSH_PORT", "SSH_ROOT"); }
    /// To all processes; "STOP" makes the servers fall silent, "CONT" wakes them.
    void sendSignal(const QString& name) { run({ "signal", mFolder.path(), name }); }

private:
    Store store(const QString& folder, const QString& port, const QString& root = QString()) const
    {
        return { mFolder.filePath(folder), mPrinted[port].toUShort(), mPrinted[root] };
    }

    /// Keeps what the script prints, lines of the form NAME='VALUE'.
    void run(const QStringList& arguments)
    {
        QProcess process;
        process.start(SERVERS_SCRIPT, arguments);
        if (!process.waitForFinished() || process.exitCode() != 0) {
            qFatal("servers: %s", process.readAllStandardError().constData());
        }
        static const QRegularExpression line("(\\w+)='(.*)'\n");
        auto lines = line.globalMatch(process.readAllStandardOutput());
        while (lines.hasNext()) {
            const QRegularExpressionMatch match = lines.next();
            mPrinted.insert(match.captured(1), match.captured(2));
        }
    }

    QTemporaryDir mFolder;
    QMap<QString, QString> mPrinted;
};
