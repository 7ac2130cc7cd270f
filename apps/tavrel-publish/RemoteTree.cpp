#include "RemoteTree.h"

#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <algorithm>

namespace {

constexpr int MAX_FOLDERS = 100000;

bool isBefore(const RemoteEntry& a, const RemoteEntry& b)
{
    return a.name < b.name;
}

RemoteEntry neither(RemoteEntry entry)
{
    if (entry.kind == RemoteEntry::Directory) {
        entry.path.chop(1);
    }
    entry.kind = RemoteEntry::Other;
    return entry;
}

} // namespace

RemoteTree::RemoteTree(FTPCurl& client, Report& report)
    : mClient(client)
    , mReport(report)
{
}

QString RemoteTree::pathOf(const FTPCurl& client, const QString& folder)
{
    // An empty path would be the login directory.
    const QString site = client.ftpSettings().ftpFolder() + client.ftpSettings().publicSubFolder();
    return client.canonicalizedFilePath(folder.isEmpty() ? QLatin1Char('/') + site : folder + QLatin1Char('/'));
}

QVector<RemoteEntry> RemoteTree::list(FTPCurl& client, Report& report, const QString& path)
{
    QVector<RemoteEntry> entries;
    if (!client.listDetailed(path, entries)) {
        report.failed(client.canonicalizedRelativeFilePath(path), client);
        return {};
    }
    std::sort(entries.begin(), entries.end(), isBefore);
    // A name with a line break in it can look like a further line, and make a folder of a link.
    for (auto i = 1; i < entries.size(); ++i) {
        if (entries[i].name == entries[i - 1].name) {
            entries[i - 1] = neither(entries[i - 1]);
            entries[i] = neither(entries[i]);
        }
    }
    return entries;
}

void RemoteTree::walk(const QString& folder, const Visitor& visit)
{
    mVisit = visit;
    walkFolder(pathOf(mClient, folder), QString(), 0);
}

void RemoteTree::walkFolder(const QString& path, const QString& relative, int depth)
{
    if (!mReport.goesOn(mClient)) {
        return;
    }
    if (depth > MAX_DEPTH || ++mFolders > MAX_FOLDERS) {
        mReport.failed(relative, QStringLiteral("too many folders"));
        return;
    }
    QVector<RemoteEntry> folders;
    for (const RemoteEntry& entry : list(mClient, mReport, path)) {
        if (entry.kind == RemoteEntry::Directory) {
            folders << entry;
        } else {
            mVisit(entry, relative + entry.name);
        }
    }
    for (const RemoteEntry& folder : folders) {
        const QString below = relative + folder.name + QLatin1Char('/');
        mVisit(folder, below);
        walkFolder(folder.path, below, depth + 1);
    }
}
