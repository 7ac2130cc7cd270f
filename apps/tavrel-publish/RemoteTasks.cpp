#include "RemoteTasks.h"

#include "Events.h"
#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <utility>

ListTask::ListTask(QString folder)
    : mFolder(std::move(folder))
{
}

void ListTask::run(FTPCurl& client, Report& report)
{
    RemoteTree(client, report).walk(mFolder, [&](const RemoteEntry& entry, const QString& /*relative*/) {
        report.print(Events::entry(entry, client.canonicalizedRelativeFilePath(entry.path)));
    });
}

RemoveTask::RemoveTask(QStringList paths)
    : mPaths(std::move(paths))
{
}

void RemoveTask::run(FTPCurl& client, Report& report)
{
    mClient = &client;
    mReport = &report;
    if (mPaths.isEmpty()) {
        removeBelow(RemoteTree::pathOf(client, QString()), 0);
    }
    for (const QString& path : mPaths) {
        // With a trailing slash the path would name the target of a link.
        const bool endsInSlash = path.size() > 1 && path.endsWith(QLatin1Char('/'));
        remove(client.canonicalizedFilePath(endsInSlash ? path.chopped(1) : path), true, 0);
    }
}

void RemoveTask::removeBelow(const QString& folder, int depth)
{
    for (const RemoteEntry& entry : RemoteTree::list(*mClient, *mReport, folder)) {
        const bool isFolder = entry.kind == RemoteEntry::Directory;
        remove(isFolder ? entry.path.chopped(1) : entry.path, isFolder, depth);
    }
}

void RemoveTask::remove(const QString& path, bool isFolder, int depth)
{
    const QString shown = mClient->canonicalizedRelativeFilePath(path);
    if (!mReport->goesOn(*mClient)) {
        mReport->notTried(shown);
        return;
    }
    // Some servers list a link to a folder as a folder. All refuse this command for a folder, and remove the link.
    bool isRemoved = mClient->removeSimpleResource(path, false);
    const bool isRefused = !isRemoved && mClient->error() == ErrorableCode::of(CURLE_QUOTE_ERROR);
    if (isRefused && isFolder && depth <= RemoteTree::MAX_DEPTH) {
        removeBelow(path, depth + 1);
        if (!mReport->goesOn(*mClient)) {
            mReport->notTried(shown);
            return;
        }
        isRemoved = mClient->removeSimpleResource(path, true);
    }
    if (isRemoved) {
        mReport->succeeded(shown);
    } else {
        mReport->failed(shown, *mClient);
    }
}

ChmodTask::ChmodTask(int mode, QStringList paths)
    : mMode(mode)
    , mPaths(std::move(paths))
{
}

void ChmodTask::run(FTPCurl& client, Report& report)
{
    for (const QString& path : mPaths) {
        const QString shown = client.canonicalizedRelativeFilePath(path);
        if (!report.goesOn(client)) {
            report.notTried(shown);
        } else if (client.internal_chmod(path, mMode)) {
            report.succeeded(shown);
        } else {
            reportFailure(client, report, path);
        }
    }
}

/// internal_chmod() leaves no error. A request that does tells whether the server or the login is at fault.
void ChmodTask::reportFailure(FTPCurl& client, Report& report, const QString& path)
{
    const QString shown = client.canonicalizedRelativeFilePath(path);
    const QString reply = client.serverReply();
    const QString reason = reply.isEmpty() ? client.errorDetail() : reply;
    bool exists = false;
    client.setExistingResourceCache(path, -1);
    if (client.resourceExists(path, exists)) {
        report.failed(shown, reason.isEmpty() ? Report::reasonOf(client) : reason);
    } else {
        report.failed(shown, client);
    }
}
