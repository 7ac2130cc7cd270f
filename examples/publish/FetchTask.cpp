#include "FetchTask.h"

#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <QFileInfo>

#include <utility>

FetchTask::FetchTask(FetchFolder localFolder, QString remoteFolder)
    : mFolder(std::move(localFolder))
    , mRemoteFolder(std::move(remoteFolder))
{
}

std::optional<Progress> FetchTask::progress() const
{
    // A listing has no sizes, so the percentage counts files.
    const int total = mTotal;
    if (total == 0) {
        return std::nullopt;
    }
    const double percent = total > 1 ? 100.0 * mDone / total : -1.0;
    return Progress { percent, mBytes + QFileInfo(mFolder.part()).size() };
}

void FetchTask::run(FTPCurl& client, Report& report)
{
    QList<RemoteTree::Entry> entries;
    RemoteTree(client, report).walk(mRemoteFolder, [&entries](const RemoteTree::Entry& entry) { entries << entry; });
    mTotal = entries.size();
    for (const RemoteTree::Entry& entry : entries) {
        fetch(client, report, entry);
    }
}

void FetchTask::fetch(FTPCurl& client, Report& report, const RemoteTree::Entry& entry)
{
    const bool isBelowFailed = mFailedFolder && entry.relative.startsWith(*mFailedFolder);
    if (isBelowFailed || !report.goesOn(client)) {
        report.notTried(entry.relative);
        return;
    }
    if (entry.kind == RemoteTree::Folder) {
        makeFolder(report, entry);
    } else if (entry.kind == RemoteTree::File) {
        fetchFile(client, report, entry);
    } else {
        report.remark(entry.relative + QStringLiteral("  left out: a symbolic link to no file"));
    }
    mDone += client.isInterruptionRequested() ? 0 : 1;
}

void FetchTask::makeFolder(Report& report, const RemoteTree::Entry& folder)
{
    if (!mFolder.makeFolder(folder.relative)) {
        mFailedFolder = folder.relative;
        report.failed(folder.relative, mFolder.fault());
    }
}

void FetchTask::fetchFile(FTPCurl& client, Report& report, const RemoteTree::Entry& file)
{
    if (!mFolder.beginFile()) {
        report.failed(file.relative, mFolder.fault());
        return;
    }
    if (!client.getFile(file.path, mFolder.part())) {
        report.failed(file.relative, client);
        return;
    }
    const qint64 size = QFileInfo(mFolder.part()).size();
    if (!mFolder.finishFile(file.relative)) {
        report.failed(file.relative, mFolder.fault());
        return;
    }
    mBytes += size;
    report.succeeded(file.relative, size);
}
