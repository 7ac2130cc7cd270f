#include "RemoteTasks.h"

#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <functional>
#include <utility>

namespace {

using Step = std::function<bool(const QString& path)>;

/// One step per path; a line each.
void forEach(const QStringList& paths, FTPCurl& client, Report& report, const Step& step)
{
    for (const QString& path : paths) {
        const QString shown = client.canonicalizedRelativeFilePath(path);
        if (!report.goesOn(client)) {
            report.notTried(shown);
        } else if (step(path)) {
            report.succeeded(shown);
        } else {
            report.failed(shown, client);
        }
    }
}

} // namespace

ListTask::ListTask(QString folder)
    : mFolder(std::move(folder))
{
}

void ListTask::run(FTPCurl& client, Report& report)
{
    RemoteTree(client, report).walk(mFolder, [&](const RemoteTree::Entry& entry) {
        report.remark(client.canonicalizedRelativeFilePath(entry.path));
    });
}

RemoveTask::RemoveTask(QStringList paths)
    : mPaths(std::move(paths))
{
}

void RemoveTask::run(FTPCurl& client, Report& report)
{
    if (mPaths.isEmpty() && !findContent(client, report)) {
        return;
    }
    forEach(mPaths, client, report, [&client](const QString& path) { return client.removeResource(path); });
}

bool RemoveTask::findContent(FTPCurl& client, Report& report)
{
    VirtualFileList files;
    if (!client.list(RemoteTree::siteFolder(client), files)) {
        report.failed(QStringLiteral("the site's folder"), client);
        return false;
    }
    for (const VirtualFile& file : files) {
        mPaths << file.name();
    }
    return true;
}

ChmodTask::ChmodTask(int mode, QStringList paths)
    : mMode(mode)
    , mPaths(std::move(paths))
{
}

void ChmodTask::run(FTPCurl& client, Report& report)
{
    forEach(mPaths, client, report, [&](const QString& path) { return client.internal_chmod(path, mMode); });
}
