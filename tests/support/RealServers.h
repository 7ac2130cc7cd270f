#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

/// nginx and PHP on loopback, in a throw-away folder, until the object is destroyed.
class RealServers
{
public:
    /// PHP runs script; without one it tells what a form brought.
    explicit RealServers(const QString& script = QString())
    {
        const QString owner = QString::number(QCoreApplication::applicationPid());
        mPorts = run({ "nginx", mFolder.path(), owner }) + run({ "php", mFolder.path(), owner, script });
    }
    ~RealServers() { run({ "stop", mFolder.path() }); }

    QString http(const QString& path) const { return "http://127.0.0.1:" + mPorts.value(0) + path; }
    QString https(const QString& path) const { return "https://127.0.0.1:" + mPorts.value(1) + path; }
    QString php() const { return "http://127.0.0.1:" + mPorts.value(2) + '/'; }
    /// A file that nginx serves.
    QString served(const QString& name) const { return mFolder.filePath("www/" + name); }

private:
    /// The ports that the script prints, each in a line "NAME=PORT".
    static QStringList run(const QStringList& arguments)
    {
        QProcess process;
        process.start(SERVERS_SCRIPT, arguments);
        if (!process.waitForFinished() || process.exitCode() != 0) {
            qFatal("servers: %s", process.readAllStandardError().constData());
        }
        const QString printed = process.readAllStandardOutput();
        return printed.split('\n', Qt::SkipEmptyParts).replaceInStrings(QRegularExpression(".*="), "");
    }

    QTemporaryDir mFolder;
    QStringList mPorts;
};
