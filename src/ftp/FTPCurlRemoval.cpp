#include "DirectoryLevel.h"
#include "FTPCurlPrivate.h"

bool FTPCurl::removeSimpleResource(const QString& path, bool isDirectory)
{
    return mPrivate->checkIdle() && mPrivate->removeOne(path, isDirectory);
}

bool FTPCurl::removeResource(const QString& path)
{
    const auto resource = mPrivate->accept(path, "removeResource", "Resource is empty", __LINE__);
    return resource && mPrivate->removeTree(*resource);
}

void FTPCurl::tryRemoveDirIfEmpty(const QString& path)
{
    removeSimpleResource(path, true);
    clearError();
}

bool FTPCurl::rm(const QString& path, QFlags<IOModeFlags> /*flags*/)
{
    return removeResource(path);
}

bool FTPCurl::Private::removeOne(const QString& path, bool isDirectory)
{
    const RemotePath remote = this->path(path);
    if (!checkSendable(remote, "removeSimpleResource", __LINE__)) {
        return false;
    }
    const CommandTexts texts = commandTexts("bool FTPCurl::removeSimpleResource(const QString &, bool)");
    // Deliberate: over SFTP the path is sent as it was given.
    const QString target = texts.isSftp() ? path : remote.relative();
    const int code = requestCommands(VFSCurlData::Removal, { texts.remove(target, isDirectory) });
    const bool success = setResult(code, QStringLiteral("Can't removeResource %1").arg(path));
    client.setExistingResourceCache(path, success ? 0 : 1);
    return success;
}

bool FTPCurl::Private::removeTree(const RemotePath& path)
{
    std::vector<DirectoryLevel> levels;
    bool removed = enterOrRemove(path, levels);
    while (!levels.empty()) {
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        if (levels.back().isFinished()) {
            removed = removeOne(levels.back().path, true);
            levels.pop_back();
            continue;
        }
        // An entry that cannot be removed stays, and then the removal of its directory fails.
        const VirtualFile entry = levels.back().takeNext();
        if (entry.isDir()) {
            enterOrRemove(this->path(entry.name()), levels);
        } else {
            removeOne(entry.name(), false);
        }
    }
    return removed;
}

bool FTPCurl::Private::enterOrRemove(const RemotePath& path, std::vector<DirectoryLevel>& levels)
{
    DirectoryLevel level;
    level.path = path.withoutTrailingSlash().canonical();
    if (list(this->path(level.path + QLatin1Char('/')), level.entries)) {
        levels.push_back(level);
        return true;
    }
    if (client.isInterruptionRequested()) {
        return stopInterrupted(__LINE__);
    }
    // A path that cannot be listed is taken for a file.
    return removeOne(level.path, false);
}
