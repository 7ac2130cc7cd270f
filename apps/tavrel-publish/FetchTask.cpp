#include "FetchTask.h"

#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <QFileInfo>
#include <QPair>
#include <QVector>

#include <limits>
#include <utility>

namespace {

constexpr double MS_PER_SECOND = 1000.0;

/// The sum of sizes that a server has announced.
qint64 sumOf(qint64 a, qint64 b)
{
    return b > std::numeric_limits<qint64>::max() - a ? std::numeric_limits<qint64>::max() : a + b;
}

/// Some servers also find a folder by its name without a slash.
bool isLinkToFile(FTPCurl& client, const QString& path)
{
    bool isFolder = false;
    bool isFile = false;
    client.resourceExists(path + QLatin1Char('/'), isFolder);
    client.setExistingResourceCache(path, -1);
    return !isFolder && client.resourceExists(path, isFile) && isFile;
}

} // namespace

FetchTask::FetchTask(FetchFolder localFolder, QString remoteFolder, bool keepTimes)
    : mFolder(std::move(localFolder))
    , mRemoteFolder(std::move(remoteFolder))
    , mKeepTimes(keepTimes)
{
    mTime.start();
}

std::optional<PublishProgress> FetchTask::progress() const
{
    if (mTotal == 0) {
        return std::nullopt;
    }
    PublishProgress progress;
    progress.files = mDone;
    progress.totalFiles = mTotal;
    progress.bytes = mBytes + QFileInfo(mFolder.part()).size();
    progress.totalBytes = mTotalBytes;
    progress.bytesPerSecond
        = static_cast<double>(progress.bytes) * MS_PER_SECOND / static_cast<double>(qMax<qint64>(mTime.elapsed(), 1));
    if (progress.bytes > 0 && progress.totalBytes >= progress.bytes) {
        progress.secondsLeft
            = static_cast<int>(static_cast<double>(progress.totalBytes - progress.bytes) / progress.bytesPerSecond);
    }
    return progress;
}

void FetchTask::run(FTPCurl& client, Report& report)
{
    QVector<QPair<RemoteEntry, QString>> entries;
    qint64 bytes = 0;
    RemoteTree(client, report).walk(mRemoteFolder, [&](const RemoteEntry& entry, const QString& relative) {
        if (entry.kind == RemoteEntry::File && FetchFolder::isRecord(relative)) {
            return;
        }
        entries.append({ entry, relative });
        bytes = entry.kind == RemoteEntry::File ? sumOf(bytes, qMax<qint64>(entry.size, 0)) : bytes;
    });
    client.setKeepModificationTime(mKeepTimes);
    mTotalBytes = bytes;
    mTotal = static_cast<int>(entries.size());
    for (const auto& [entry, relative] : entries) {
        fetch(client, report, entry, relative);
    }
}

void FetchTask::fetch(FTPCurl& client, Report& report, const RemoteEntry& entry, const QString& relative)
{
    const bool isBelowFailed = mFailedFolder && relative.startsWith(*mFailedFolder);
    if (isBelowFailed || !report.goesOn(client)) {
        report.notTried(relative);
        return;
    }
    const QString refusal = FetchFolder::refusalOf(relative);
    if (!refusal.isEmpty()) {
        mFailedFolder = entry.kind == RemoteEntry::Directory ? relative : mFailedFolder;
        report.failed(relative, refusal);
    } else if (entry.kind == RemoteEntry::Directory) {
        makeFolder(report, relative);
    } else if (entry.kind == RemoteEntry::File || isLinkToFile(client, entry.path)) {
        fetchFile(client, report, entry, relative);
    } else {
        report.remark(relative + QStringLiteral("  left out: neither a file nor a link to one"));
    }
    mDone += client.isInterruptionRequested() ? 0 : 1;
}

void FetchTask::makeFolder(Report& report, const QString& relative)
{
    if (!mFolder.makeFolder(relative)) {
        mFailedFolder = relative;
        report.failed(relative, mFolder.fault());
    }
}

void FetchTask::fetchFile(FTPCurl& client, Report& report, const RemoteEntry& file, const QString& relative)
{
    if (!mFolder.beginFile()) {
        report.failed(relative, mFolder.fault());
        return;
    }
    const bool isFetched = client.getFile(file.path, mFolder.part());
    const bool isWithoutTime = client.error() == ErrorableCode::of(FTPCurl::TIME_NOT_KEPT);
    const qint64 size = QFileInfo(mFolder.part()).size();
    if (!isFetched && !isWithoutTime) {
        report.failed(relative, client);
    } else if (!mFolder.finishFile(relative)) {
        report.failed(relative, mFolder.fault());
    } else {
        mBytes += size;
        report.succeeded(relative, size);
        if (isWithoutTime) {
            report.remark(relative + QStringLiteral("  the server does not tell its time"));
        }
    }
}
