#include "RemoteTree.h"

#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <algorithm>

namespace {

/// Above any real site; a server can list folders without end.
constexpr int MAX_DEPTH = 50;
constexpr int MAX_FOLDERS = 100000;

bool isBefore(const RemoteTree::Entry& a, const RemoteTree::Entry& b)
{
    return a.path < b.path;
}

} // namespace

RemoteTree::RemoteTree(FTPCurl& client, Report& report)
    : mClient(client)
    , mReport(report)
{
}

QString RemoteTree::plainName(const QString& directory, const VirtualFile& file)
{
    if (!file.name().startsWith(directory)) {
        return QString();
    }
    QString name = file.name().mid(directory.size());
    if (file.isDir() && name.endsWith(QLatin1Char('/'))) {
        name.chop(1);
    }
    const bool isPlain = name != QLatin1String(".") && name != QLatin1String("..") && !name.contains(QLatin1Char('/'))
        && !name.contains(QChar(0));
    return isPlain ? name : QString();
}

QString RemoteTree::siteFolder(const FTPCurl& client)
{
    return QLatin1Char('/') + client.ftpSettings().ftpFolder() + client.ftpSettings().publicSubFolder();
}

bool RemoteTree::walk(const QString& folder, const Visitor& visit)
{
    mVisit = visit;
    const QString path = folder.isEmpty() ? siteFolder(mClient) : folder + QLatin1Char('/');
    return walkFolder({ mClient.canonicalizedFilePath(path), QString(), Folder }, 0);
}

bool RemoteTree::walkFolder(const Entry& folder, int depth)
{
    if (!mReport.goesOn(mClient)) {
        return false;
    }
    QList<Entry> files;
    QList<Entry> folders;
    if (depth > MAX_DEPTH || ++mFolders > MAX_FOLDERS) {
        mReport.failed(folder.relative, QStringLiteral("too many folders"));
        return false;
    }
    if (!list(folder, files, folders)) {
        mReport.failed(
            folder.relative.isEmpty() ? mClient.canonicalizedRelativeFilePath(folder.path) : folder.relative, mClient);
        return false;
    }
    for (const Entry& file : files) {
        mVisit(file);
    }
    for (const Entry& subFolder : folders) {
        mVisit(subFolder);
        walkFolder(subFolder, depth + 1);
    }
    return true;
}

bool RemoteTree::list(const Entry& folder, QList<Entry>& files, QList<Entry>& folders)
{
    VirtualFileList listed;
    const bool success = mClient.list(folder.path, listed);
    for (const VirtualFile& file : listed) {
        const QString name = plainName(folder.path, file);
        if (name.isEmpty()) {
            mReport.failed(file.name(), QStringLiteral("refused, no plain name"));
        } else if (file.isDir() && !file.name().endsWith(QLatin1Char('/'))) {
            // Links to folders have no trailing slash.
            files << Entry { file.name(), folder.relative + name, LinkToNoFile };
        } else if (file.isDir()) {
            folders << Entry { file.name(), folder.relative + name + QLatin1Char('/'), Folder };
        } else {
            files << Entry { file.name(), folder.relative + name, File };
        }
    }
    std::sort(files.begin(), files.end(), isBefore);
    std::sort(folders.begin(), folders.end(), isBefore);
    return success;
}
