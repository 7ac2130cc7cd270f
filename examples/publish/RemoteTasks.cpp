#include "RemoteTasks.h"

#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <functional>
#include <utility>

namespace {

constexpr int OCTAL = 8;

using Step = std::function<bool(const QString& path)>;

/// One step, and one line, per path.
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

DetailsTask::DetailsTask(QString folder)
    : mFolder(std::move(folder))
{
}

void DetailsTask::run(FTPCurl& client, Report& report)
{
    const QString folder = mFolder.isEmpty() ? RemoteTree::siteFolder(client) : mFolder;
    QVector<RemoteEntry> entries;
    if (!client.listDetailed(folder, entries)) {
        return report.failed(folder, client);
    }
    for (const RemoteEntry& entry : entries) {
        const QString mode = entry.permissions < 0 ? QStringLiteral("?") : QString::number(entry.permissions, OCTAL);
        const QString time = entry.modified.isValid() ? entry.modified.toString(Qt::ISODate) : QStringLiteral("?");
        report.remark(QStringLiteral("%1  %2  %3  ").arg(mode).arg(entry.size).arg(time) + entry.name);
    }
    if (!client.peerFingerprint().isEmpty()) {
        report.remark(QStringLiteral("key of the server: ") + client.peerFingerprint());
    }
}

RemoveTask::RemoveTask(QStringList paths)
    : mPaths(std::move(paths))
{
}

void RemoveTask::run(FTPCurl& client, Report& report)
{
    if (mPaths.isEmpty()) {
        removeBelow(client, report, QString());
    }
    for (const QString& path : mPaths) {
        if (report.goesOn(client)) {
            remove(client, report, path);
        } else {
            report.notTried(path);
        }
    }
}

void RemoveTask::remove(FTPCurl& client, Report& report, const QString& path)
{
    // With a trailing slash the path would name the target of a link.
    const bool endsInSlash = path.size() > 1 && path.endsWith(QLatin1Char('/'));
    const QString target = client.canonicalizedFilePath(endsInSlash ? path.chopped(1) : path);
    const QString shown = client.canonicalizedRelativeFilePath(path);
    // The server knows whether it is a file: it refuses to remove a folder with this command.
    bool isRemoved = client.removeSimpleResource(target, false);
    if (!isRemoved && client.error() == ErrorableCode::of(CURLE_QUOTE_ERROR)) {
        if (!removeBelow(client, report, path) || !report.goesOn(client)) {
            return;
        }
        isRemoved = client.removeSimpleResource(target, true);
    }
    if (isRemoved) {
        report.succeeded(shown);
    } else {
        report.failed(shown, client);
    }
}

bool RemoveTask::removeBelow(FTPCurl& client, Report& report, const QString& folder)
{
    QStringList paths;
    const bool isListed = RemoteTree(client, report).walk(folder, [&paths](const RemoteTree::Entry& entry) {
        paths.prepend(entry.path);
    }); // folders after their content
    forEach(paths, client, report, [&client](const QString& path) {
        const bool isFolder = path.endsWith(QLatin1Char('/'));
        return client.removeSimpleResource(isFolder ? path.chopped(1) : path, isFolder);
    });
    return isListed;
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
