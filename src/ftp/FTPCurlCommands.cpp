#include <tavrel/FTPCurl.h>

#include "CommandTexts.h"
#include "RemotePath.h"

#include <QFileInfo>

#include <memory>

namespace {

const QChar SLASH = QLatin1Char('/');

struct StringListDeleter
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

} // namespace

int FTPCurl::request(VFSCurlData::Kind kind, QIODevice* device, const QString& path)
{
    VFSCurlData data { kind, this, device, QTime::currentTime(), generateUrl(path) };
    setProgressStart(data.lastProgress, 0);
    return performCurlRequest(data);
}

int FTPCurl::requestCommand(VFSCurlData::Kind kind, const QString& command)
{
    if (!mHandle) {
        return request(kind, nullptr, QString());
    }
    const std::unique_ptr<curl_slist, StringListDeleter> commands(
        curl_slist_append(nullptr, command.toUtf8().constData()));
    curl_easy_setopt(mHandle, CURLOPT_POSTQUOTE, commands.get());
    const int code = request(kind, nullptr, QString());
    curl_easy_setopt(mHandle, CURLOPT_POSTQUOTE, nullptr);
    return code;
}

bool FTPCurl::resourceExists(const QString& path, bool& exists)
{
    if (!accepts(path, "resourceExists", "resourceExists: resource is empty", __LINE__)) {
        return false;
    }
    const QString canonical = canonicalizedFilePath(path);
    const int known = existingResourceCacheValue(canonical);
    if (known == 0 || known == 1) {
        exists = known == 1;
        return true;
    }
    const int code = request(VFSCurlData::ExistenceTest, nullptr, canonical);
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
        return handleResult(code, QString());
    }
    setExistingResourceCache(canonical, exists ? 1 : 0);
    return true;
}

int FTPCurl::existingResourceCacheValue(const QString& path) const
{
    return mExistingResources.value(canonicalizedFilePath(withoutTrailingSlash(path)), -1);
}

void FTPCurl::setExistingResourceCache(const QString& path, int value)
{
    mExistingResources.insert(canonicalizedFilePath(withoutTrailingSlash(path)), value);
}

bool FTPCurl::createDirectory(const QString& directory)
{
    if (!isValid()) {
        return false;
    }
    if (directory == QLatin1String(".") || directory == SLASH) {
        return refuse(QStringLiteral("createDirectory: directory =='%1'").arg(directory), __LINE__);
    }
    if (directory.isEmpty()) {
        return refuse(QStringLiteral("createDirectory: directory is empty"), __LINE__);
    }
    if (!checkPath(directory, "createDirectory", __LINE__)) {
        return false;
    }
    const QString path = withoutTrailingSlash(canonicalizedFilePath(directory + SLASH));
    int level = 0;
    return findExistingLevel(path, level) && createBelowLevel(path, level);
}

bool FTPCurl::findExistingLevel(const QString& path, int& level)
{
    // Level 0, the bare slash, is taken to exist.
    for (level = path.count(SLASH); level > 0; --level) {
        if (isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        bool exists = false;
        if (!resourceExists(path.section(SLASH, 0, level) + SLASH, exists)) {
            return false;
        }
        if (exists) {
            return true;
        }
    }
    return true;
}

bool FTPCurl::createBelowLevel(const QString& path, int level)
{
    const int deepest = path.count(SLASH);
    while (level < deepest) {
        if (isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        ++level;
        if (!internal_mkdir(path.section(SLASH, 0, level) + SLASH)) {
            return false;
        }
    }
    clearError();
    return true;
}

bool FTPCurl::createDirectoryIfNecessary(const QString& filePath)
{
    if (!isValid()) {
        return false;
    }
    const QString parent = QFileInfo(withoutTrailingSlash(filePath)).path();
    if (parent.isEmpty() || parent == QLatin1String(".") || parent == SLASH) {
        return true;
    }
    return createDirectory(parent);
}

bool FTPCurl::internal_mkdir(const QString& directory)
{
    if (!accepts(directory, "internal_mkdir", "internal_mkdir: directory is empty", __LINE__)) {
        return false;
    }
    const CommandTexts texts = commandTexts("bool FTPCurl::internal_mkdir(const QString &)");
    const QString path = withoutTrailingSlash(canonicalizedFilePath(directory));
    const int code = requestCommand(VFSCurlData::Command, texts.makeDirectory(commandPath(path)));
    const bool success = handleResult(code, QStringLiteral("Can't createDirectory %1").arg(path));
    setExistingResourceCache(path, success ? 1 : 0);
    return success;
}

bool FTPCurl::internal_chmod(const QString& filePath, int mode)
{
    if (!accepts(filePath, "internal_chmod", "internal_chmod: filePath is empty", __LINE__)) {
        return false;
    }
    if (mode == -1) {
        return true;
    }
    const CommandTexts texts = commandTexts("bool FTPCurl::internal_chmod(const QString &, int)");
    const QString path = withoutTrailingSlash(canonicalizedFilePath(filePath));
    // Deliberate: a refusal is told by the result alone.
    const QStringList commands = texts.changeMode(commandPath(path), mode);
    return requestCommand(VFSCurlData::Command, commands.first()) == CURLE_OK
        || requestCommand(VFSCurlData::Command, commands.last()) == CURLE_OK;
}

QString FTPCurl::commandPath(const QString& canonicalPath) const
{
    return mFtpSettings.ftpProtocol() == FTPSettings::SFTP ? canonicalPath : relativeRemotePath(canonicalPath);
}
