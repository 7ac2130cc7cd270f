#include "DirectoryLevel.h"
#include "FTPCurlPrivate.h"
#include "ListingBounds.h"

#include <QHash>

#include <algorithm>

namespace {

const char* const SIGNATURE = "bool FTPCurl::removeSimpleResource(const QString &, bool)";
constexpr int FILES_PER_REQUEST = 50;

/// A name with a line break can forge a line. So that it leads nowhere else, names with a slash are not removed, and
/// what has two lines is not entered; then the directory itself stays.
void dropDoubtful(DirectoryLevel& level)
{
    const auto begin = level.path.size() + 1;
    QHash<QString, int> counts;
    for (const VirtualFile& entry : level.entries) {
        ++counts[RemotePath::withoutTrailingSlash(entry.name())];
    }
    const auto isDoubtful = [&](const VirtualFile& entry) {
        const QString path = RemotePath::withoutTrailingSlash(entry.name());
        return path.indexOf(RemotePath::SLASH, begin) >= 0 || (entry.isDir() && counts.value(path) > 1);
    };
    level.entries.erase(std::remove_if(level.entries.begin(), level.entries.end(), isDoubtful), level.entries.end());
}

} // namespace

bool FTPCurl::removeSimpleResource(const QString& path, bool isDirectory)
{
    return mPrivate->checkIdle() && mPrivate->removeOne(path, isDirectory);
}

bool FTPCurl::removeResource(const QString& path)
{
    const auto resource = mPrivate->accept(path, "removeResource", "Resource is empty", __LINE__);
    return resource && mPrivate->withinMemory([&] { return mPrivate->removeTree(*resource); });
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
    const CommandTexts texts = commandTexts(SIGNATURE);
    // Deliberate: over SFTP the path is sent as it was given, but for slashes in front.
    const QString target = texts.isSftp() ? path : commandPath(remote);
    return setRemovalResult(requestCommands(VFSCurlData::Removal, { texts.remove(target, isDirectory) }), path);
}

bool FTPCurl::Private::setRemovalResult(int code, const QString& path)
{
    const bool success = setResult(code, QStringLiteral("Can't removeResource %1").arg(path));
    client.setExistingResourceCache(path, success ? 0 : 1);
    return success;
}

bool FTPCurl::Private::removeTree(const RemotePath& path)
{
    std::vector<DirectoryLevel> levels;
    qint64 memoryLeft = ListingBounds::MAX_MEMORY;
    bool removed = enterOrRemove(path, levels, memoryLeft);
    while (!levels.empty()) {
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        if (levels.back().isFinished()) {
            removed = removeOne(levels.back().path, true);
            memoryLeft += levels.back().memory;
            levels.pop_back();
            continue;
        }
        // An entry that cannot be removed stays, and then the removal of its directory fails.
        const VirtualFile entry = levels.back().takeNext();
        if (entry.isDir()) {
            enterOrRemove(this->path(entry.name()), levels, memoryLeft);
        } else if (removeOne(entry.name(), false)) {
            removeFiles(levels.back());
        }
    }
    return removed;
}

/// Removes the files that follow with one request: libcurl needs as long for a request as a nearby server for an
/// answer. After the removal of a file it sends nothing but the commands, so each reply belongs to one of them.
void FTPCurl::Private::removeFiles(DirectoryLevel& level)
{
    const CommandTexts texts = commandTexts(SIGNATURE);
    // libcurl does not tell over SFTP how many commands have succeeded, and an application may have added its own.
    if (texts.isSftp() || session.isLent()) {
        return;
    }
    const QStringList files = nextFiles(level);
    if (files.isEmpty()) {
        return;
    }
    QStringList commands;
    for (const QString& file : files) {
        commands += texts.remove(commandPath(path(file)), false);
    }
    const int code = requestCommands(VFSCurlData::Removal, commands);
    const int count = static_cast<int>(files.size());
    const int removed = code == CURLE_OK ? count : std::min(session.acceptedCommands(), count);
    for (const QString& file : files.mid(0, removed)) {
        setRemovalResult(CURLE_OK, file);
    }
    level.next += removed;
    if (removed < count) {
        setRemovalResult(code, level.takeNext().name());
    }
}

QStringList FTPCurl::Private::nextFiles(const DirectoryLevel& level) const
{
    QStringList files;
    const int end = std::min(static_cast<int>(level.entries.size()), level.next + FILES_PER_REQUEST);
    for (int i = level.next; i < end; ++i) {
        const VirtualFile& entry = level.entries.at(i);
        if (entry.isDir() || !path(entry.name()).isSendable()) {
            break;
        }
        files += entry.name();
    }
    return files;
}

bool FTPCurl::Private::enterOrRemove(const RemotePath& path, std::vector<DirectoryLevel>& levels, qint64& memoryLeft)
{
    DirectoryLevel level;
    level.path = path.withoutTrailingSlash().canonical();
    level.memory = memoryLeft;
    if (list(this->path(level.path + QLatin1Char('/')), level.entries, memoryLeft, Reading::Strict)) {
        level.memory -= memoryLeft;
        dropDoubtful(level);
        levels.push_back(level);
        return true;
    }
    if (client.isInterruptionRequested()) {
        return stopInterrupted(__LINE__);
    }
    // A path that cannot be listed is taken for a file.
    return removeOne(level.path, false);
}
