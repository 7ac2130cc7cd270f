// Publishing a folder with FolderPublisher. STORE stands for "ftp|sftp HOST PORT ROOT"; the site is ROOT/site.
//
//   bench_tavrel_publish folder STORE FOLDER CONNECTIONS   sends what differs from the record of the site
//   bench_tavrel_publish bytes STORE FOLDER SMALL-FOLDER   sends both; prints how much more memory a file of the larger
//                                                          one takes, beyond its path

#include "program.h"
#include "report.h"

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/FolderPublisher.h>

#include <QDir>
#include <QFile>

#include <cstdio>

namespace {

constexpr int DEFAULT_CONNECTIONS = 4;
constexpr qint64 KIB = 1024;

struct BenchSettings : FTPSettingsSerializable
{
    explicit BenchSettings(const QStringList& store)
    {
        mProtocol = store.value(0) == QLatin1String("sftp") ? SFTP : FTP;
        mHost = store.value(1);
        mPort = store.value(2).toInt();
        mFtpFolder = store.value(3) + QStringLiteral("/site");
        mUser = qEnvironmentVariable("USER_NAME");
        mPassword.setValue(qEnvironmentVariable("PASSWORD"));
    }
};

bool publish(const FTPSettings& settings, const QString& folder, int connections, PublishReport& report)
{
    FolderPublisher publisher;
    publisher.setConnections(connections);
    publisher.publish(settings, folder);
    publisher.wait();
    report = publisher.report();
    return report.isSuccess() || fail(report.stopReason + report.failed.value(0).reason);
}

/// A line of /proc/self/status, in bytes.
qint64 statusBytes(const QByteArray& name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QByteArray text = file.readAll();
    return text.mid(text.indexOf(name)).simplified().split(' ').value(1).toLongLong() * KIB;
}

/// The peak memory after a folder was published, without the paths of its files.
bool peakBytes(const QStringList& store, const QString& folder, qint64& bytes, int& files)
{
    PublishReport report;
    if (!publish(BenchSettings(store), folder, DEFAULT_CONNECTIONS, report)) {
        return false;
    }
    bytes = statusBytes("VmHWM:");
    for (const QString& path : report.sent) {
        bytes -= path.size() * static_cast<qint64>(sizeof(QChar));
    }
    files = static_cast<int>(report.sent.size());
    return true;
}

/// Both runs have the same sessions and buffers, which do not depend on the number of files.
bool printBytes(const QStringList& store, const QString& folder, const QString& smallFolder)
{
    QStringList otherSite = store;
    otherSite[3] += QStringLiteral("/small");
    qint64 bytes = 0;
    qint64 fewerBytes = 0;
    int files = 0;
    int fewerFiles = 0;
    if (!peakBytes(otherSite, smallFolder, fewerBytes, fewerFiles) || !peakBytes(store, folder, bytes, files)) {
        return false;
    }
    std::printf("%.1f\n", static_cast<double>(bytes - fewerBytes) / (files - fewerFiles));
    return true;
}

bool run(const QStringList& arguments)
{
    const BenchSettings settings(arguments.mid(2));
    const QString folder = arguments.value(6);
    if (arguments.value(1) == QLatin1String("bytes")) {
        return printBytes(arguments.mid(2), folder, arguments.value(7));
    }
    const Moment start = momentNow();
    PublishReport report;
    const bool success = publish(settings, folder, arguments.value(7).toInt(), report);
    reportSince(start);
    return success;
}

} // namespace

int main(int argc, char* argv[])
{
    return runProgram(argc, argv, run);
}
