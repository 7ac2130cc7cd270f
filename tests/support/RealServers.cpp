#include "RealServers.h"

#include <QCoreApplication>
#include <QProcess>

RealServers::RealServers()
{
    const QString owner = QString::number(QCoreApplication::applicationPid());
    run({ QStringLiteral("nginx"), mFolder.path(), owner });
    run({ QStringLiteral("php"), mFolder.path(), owner });
}

RealServers::~RealServers()
{
    run({ QStringLiteral("stop"), mFolder.path() });
}

void RealServers::run(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(SERVERS_SCRIPT), arguments);
    if (!process.waitForFinished() || process.exitCode() != 0) {
        qFatal("servers %s failed", qUtf8Printable(arguments.join(QLatin1Char(' '))));
    }
    const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
    for (const QByteArray& line : lines) {
        const int equals = line.indexOf('=');
        mPorts.insert(QString::fromUtf8(line.left(equals)), QString::fromUtf8(line.mid(equals + 1)));
    }
}

QString RealServers::url(const QString& scheme, const QString& port, const QString& path) const
{
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, mPorts.value(port), path);
}
