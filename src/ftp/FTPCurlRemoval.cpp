#include <tavrel/FTPCurl.h>

#include "CommandTexts.h"
#include "DirectoryLevel.h"
#include "RemotePath.h"

bool FTPCurl::removeSimpleResource(const QString& path, bool isDirectory)
{
    if (!checkPath(path, "removeSimpleResource", __LINE__)) {
        return false;
    }
    const CommandTexts texts = commandTexts("bool FTPCurl::removeSimpleResource(const QString &, bool)");
    // Deliberate: over SFTP the path is sent as it was given.
    const QString target = texts.isSftp() ? path : canonicalizedRelativeFilePath(path);
    const int code = requestCommand(VFSCurlData::Removal, texts.remove(target, isDirectory));
    const bool success = handleResult(code, QStringLiteral("Can't removeResource %1").arg(path));
    setExistingResourceCache(path, success ? 0 : 1);
    return success;
}

bool FTPCurl::removeResource(const QString& path)
{
    if (!accepts(path, "removeResource", "Resource is empty", __LINE__)) {
        return false;
    }
    std::vector<DirectoryLevel> levels;
    bool removed = enterOrRemove(path, levels);
    while (!levels.empty()) {
        if (isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        if (levels.back().isFinished()) {
            removed = removeSimpleResource(levels.back().path, true);
            levels.pop_back();
            continue;
        }
        // What cannot be removed stays, and then the removal of its directory fails.
        const VirtualFile entry = levels.back().takeNext();
        if (entry.isDir()) {
            enterOrRemove(entry.name(), levels);
        } else {
            removeSimpleResource(entry.name(), false);
        }
    }
    return removed;
}

bool FTPCurl::enterOrRemove(const QString& path, std::vector<DirectoryLevel>& levels)
{
    DirectoryLevel level;
    level.path = withoutTrailingSlash(canonicalizedFilePath(path));
    if (list(level.path, level.entries)) {
        levels.push_back(level);
        return true;
    }
    if (isInterruptionRequested()) {
        return stopInterrupted(__LINE__);
    }
    // What cannot be listed is taken for a file.
    return removeSimpleResource(level.path, false);
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
