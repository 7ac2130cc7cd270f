#pragma once

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

/// Servers on loopback, in a temporary folder, for the lifetime of the object.
class RealServers
{
public:
    /// A folder that a server shows to its only user.
    struct Store
    {
        QString folder; ///< its path on this machine
        quint16 port; ///< 0 when the server does not run
        QString root; ///< the prefix of remote paths; may be empty
    };

    /// Starts the named servers: "nginx", "php", "proftpd", "openssh", "vsftpd", "pureftpd",
    /// "asyncssh". PHP runs script, by default form-echo.php.
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
    /// A file of the servers: "cert.pem" and "key.pem" of TLS, the keys of OpenSSH's user.
    QString file(const QString& name) const { return mFolder.filePath(name); }
    /// A file that nginx serves.
    QString served(const QString& name) const { return mFolder.filePath("www/" + name); }

    /// The folder of ProFTPD: over FTP and explicit TLS; over implicit TLS.
    Store ftp() const { return store("ftp", "FTP_PORT"); }
    Store ftps() const { return store("ftp", "FTPS_PORT"); }
    /// Over explicit and implicit TLS, where data connections must resume the TLS session of the control connection.
    Store strictFtp() const { return store("ftp", "STRICT_FTP_PORT"); }
    Store strictFtps() const { return store("ftp", "STRICT_FTPS_PORT"); }
    /// Over FTP, for two sessions at a time and files of up to a mebibyte.
    Store limitedFtp() const { return store("ftp", "LIMITED_FTP_PORT"); }
    /// Over SFTP.
    Store proftpdSftp() const { return store("ftp", "PSFTP_PORT", "FTP_ROOT"); }
    /// OpenSSH, which runs for root only.
    Store openssh() const { return store("ssh", "SSH_PORT", "SSH_ROOT"); }
    /// Over FTP and explicit TLS, where data connections must resume; runs for root only.
    Store vsftpd() const { return store("vsftpd", "VSFTPD_PORT"); }
    /// Over FTP and explicit TLS; runs for root only.
    Store pureFtpd() const { return store("pure", "PURE_PORT"); }
    /// Over SFTP; keeps two slashes at the beginning of a path and ignores the flag to append.
    Store asyncssh() const { return store("async", "ASYNCSSH_PORT"); }
    /// Sends a signal to all processes of the servers, such as "STOP" and "CONT".
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
        for (const QString& line : QString(process.readAllStandardOutput()).split('\n')) {
            mPrinted.insert(line.section('=', 0, 0), line.section('\'', 1, 1));
        }
    }

    QTemporaryDir mFolder;
    QMap<QString, QString> mPrinted;
};
