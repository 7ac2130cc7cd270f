#include "FTPCurlPrivate.h"

#include <QFileInfo>

#include <algorithm>

bool FTPCurl::resourceExists(const QString& path, bool& exists)
{
    const auto resource = mPrivate->accept(path, "resourceExists", "resourceExists: resource is empty", __LINE__);
    return resource && mPrivate->exists(*resource, exists);
}

int FTPCurl::existingResourceCacheValue(const QString& path) const
{
    return mPrivate->existingResources.value(mPrivate->cacheKey(path), -1);
}

void FTPCurl::setExistingResourceCache(const QString& path, int value)
{
    const QString key = mPrivate->cacheKey(path);
    if (value == -1) {
        mPrivate->existingResources.remove(key);
    } else {
        mPrivate->existingResources.insert(key, value);
    }
}

bool FTPCurl::createDirectory(const QString& directory)
{
    if (!mPrivate->checkUsable()) {
        return false;
    }
    if (directory == QLatin1String(".") || directory == RemotePath::SLASH) {
        return mPrivate->refuse(QStringLiteral("createDirectory: directory =='%1'").arg(directory), __LINE__);
    }
    if (directory.isEmpty()) {
        return mPrivate->refuse(QStringLiteral("createDirectory: directory is empty"), __LINE__);
    }
    return mPrivate->createDirectory(mPrivate->path(directory + RemotePath::SLASH).withoutTrailingSlash());
}

bool FTPCurl::createDirectoryIfNecessary(const QString& filePath)
{
    if (!mPrivate->checkUsable()) {
        return false;
    }
    // A plain name is in the folder of the settings, which is not created for it.
    const QString parent = QFileInfo(RemotePath::withoutTrailingSlash(filePath)).path();
    if (parent.isEmpty() || parent == QLatin1String(".") || parent == RemotePath::SLASH) {
        return true;
    }
    return createDirectory(parent);
}

bool FTPCurl::internal_mkdir(const QString& directory)
{
    const auto path = mPrivate->accept(directory, "internal_mkdir", "internal_mkdir: directory is empty", __LINE__);
    return path && mPrivate->makeDirectory(*path);
}

bool FTPCurl::internal_chmod(const QString& filePath, int mode)
{
    const auto path = mPrivate->accept(filePath, "internal_chmod", "internal_chmod: filePath is empty", __LINE__);
    return path && (mode == -1 || mPrivate->changeMode(*path, mode));
}

int FTPCurl::Private::request(VFSCurlData::Kind kind, QIODevice* device, const RemotePath& path)
{
    VFSCurlData data { kind, &client, device, session.progressThrottle().now(), url(path) };
    return session.perform(data);
}

int FTPCurl::Private::requestCommands(VFSCurlData::Kind kind, const QStringList& commands)
{
    VFSCurlData data { kind, &client, nullptr, session.progressThrottle().now(), url(path(QString())) };
    return session.performCommands(data, commands);
}

CommandTexts FTPCurl::Private::commandTexts(const char* signature) const
{
    const FTPSettings::Protocol protocol = settings.ftpProtocol();
    if (!CommandTexts::knows(protocol)) {
        qFatal("%s: Unknown protocol", signature);
    }
    return CommandTexts(protocol);
}

QString FTPCurl::Private::commandPath(const RemotePath& path) const
{
    if (settings.ftpProtocol() == FTPSettings::SFTP) {
        return path.canonical();
    }
    // Servers take a tilde in front for a home directory.
    const QString relative = path.relative();
    return relative.startsWith(RemotePath::TILDE) ? QStringLiteral("./") + relative : relative;
}

QString FTPCurl::Private::cacheKey(const QString& path) const
{
    return this->path(RemotePath::withoutTrailingSlash(path)).canonical();
}

bool FTPCurl::Private::exists(const RemotePath& path, bool& exists)
{
    const QString key = cacheKey(path.canonical());
    const int known = existingResources.value(key, -1);
    if (known == 0 || known == 1) {
        exists = known == 1;
        return true;
    }
    const int code = request(VFSCurlData::ExistenceTest, nullptr, path);
    switch (code) {
    case CURLE_OK:
    case CURLE_REMOTE_FILE_EXISTS:
        exists = true;
        break;
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_REMOTE_FILE_NOT_FOUND:
        exists = false;
        break;
    default:
        return setResult(code, QString());
    }
    // Deliberate: an answer, also one from the cache, does not clear an older error.
    existingResources.insert(key, exists ? 1 : 0);
    return true;
}

bool FTPCurl::Private::createDirectory(const RemotePath& directory)
{
    int level = 0;
    return checkSendable(directory, "createDirectory", __LINE__) && findExistingLevel(directory, level)
        && createBelowLevel(directory, level);
}

RemotePath FTPCurl::Private::levelOf(const RemotePath& directory, int level) const
{
    return path(directory.canonical().section(RemotePath::SLASH, 0, level) + RemotePath::SLASH);
}

bool FTPCurl::Private::findExistingLevel(const RemotePath& directory, int& level)
{
    level = static_cast<int>(directory.canonical().count(RemotePath::SLASH));
    if (existingResources.value(directory.canonical()) == 1 && !client.isInterruptionRequested()) {
        return true; // mostly the directory of the file before
    }
    // Level 0, the bare slash, is taken to exist.
    for (; level > 0; --level) {
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        bool isThere = false;
        if (!exists(levelOf(directory, level), isThere)) {
            return false;
        }
        if (isThere) {
            return true;
        }
    }
    return true;
}

bool FTPCurl::Private::createBelowLevel(const RemotePath& directory, int level)
{
    const auto deepest = directory.canonical().count(RemotePath::SLASH);
    while (level < deepest) {
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        ++level;
        if (!makeDirectory(levelOf(directory, level))) {
            return false;
        }
    }
    client.clearError();
    return true;
}

bool FTPCurl::Private::makeDirectory(const RemotePath& directory)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::internal_mkdir(const QString &)");
    const RemotePath path = directory.withoutTrailingSlash();
    const int code = requestCommands(VFSCurlData::Command, { texts.makeDirectory(commandPath(path)) });
    const bool success = setResult(code, QStringLiteral("Can't createDirectory %1").arg(path.canonical()));
    client.setExistingResourceCache(path.canonical(), success ? 1 : 0);
    return success;
}

bool FTPCurl::Private::changeMode(const RemotePath& resource, int mode)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::internal_chmod(const QString &, int)");
    const RemotePath path = resource.withoutTrailingSlash();
    // Deliberate: the error state stays as it is, whatever the result. Other modes than permissions are the server's.
    const QStringList commands = texts.changeMode(commandPath(path), mode);
    return std::any_of(commands.begin(), commands.end(),
        [this](const QString& command) { return requestCommands(VFSCurlData::Command, { command }) == CURLE_OK; });
}
