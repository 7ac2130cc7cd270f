#include "FTPCurlPrivate.h"

#include <foundation/FileUtils.h>
#include <transfer/WriteBatch.h>

#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace {

/// The personal pages of an internet provider, whose server answers uploads in a way of its own.
const QString PERSONAL_PAGES_HOST = QStringLiteral("ftpperso.provider.example");

bool isPersonalPages(const FTPSettings& settings)
{
    return settings.host().contains(PERSONAL_PAGES_HOST, Qt::CaseInsensitive);
}

void closeIfOpen(QIODevice* device)
{
    if (device && device->isOpen()) {
        device->close();
    }
}

} // namespace

bool FTPCurl::putData(const QByteArray& data, const QString& target, bool createDirectories)
{
    const auto path = mPrivate->accept(target, "putData", "putData: target is empty", __LINE__);
    return path && mPrivate->putData(data, *path, createDirectories);
}

bool FTPCurl::putFile(const QString& source, const QString& target, bool createDirectories)
{
    const auto path = mPrivate->accept(target, "putFile", "putData: target is empty", __LINE__);
    if (!path) {
        return false;
    }
    if (isPersonalPages(mPrivate->settings)) {
        // Deliberate: that server gets its files from memory, an unreadable one as an empty one.
        return mPrivate->putData(FileUtils::readFileContent(source, false), *path, createDirectories);
    }
    if (createDirectories && !mPrivate->createDirectory(path->parent())) {
        return false;
    }
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly)) {
        return mPrivate->refuse(QStringLiteral("putFile: source cant be opened ") + source, __LINE__);
    }
    // Before the upload: a file that changes meanwhile must not look as if its new content had been sent.
    const QDateTime time = file.fileTime(QFileDevice::FileModificationTime);
    return mPrivate->putFile(file, *path) && (!keepsModificationTime() || mPrivate->setRemoteTime(*path, time));
}

bool FTPCurl::putDataFromIoDevice(QIODevice* device, const QString& source, const QString& target)
{
    const auto path = mPrivate->accept(target, "putDataFromIoDevice", "putData: target is empty", __LINE__);
    return path && mPrivate->putDevice(device, source, *path);
}

bool FTPCurl::getData(const QString& source, QByteArray& data)
{
    data.clear();
    const auto path = mPrivate->accept(source, "getFile", "getFile: source is empty", __LINE__);
    QBuffer buffer(&data);
    return path && mPrivate->download(*path, buffer, [] { return true; });
}

bool FTPCurl::getFile(const QString& source, const QString& target)
{
    const auto path = mPrivate->accept(source, "getFile", "getFile: source is empty", __LINE__);
    if (!path) {
        return false;
    }
    if (mPrivate->resumeTransfers && QFileInfo(target).size() > 0) {
        return mPrivate->resumeDownload(*path, target);
    }
    QFile file(target);
    WriteBatch batch(file);
    // A full disk may be noticed only when the last bytes are written.
    const auto finish = [&] { return !file.isOpen() || (batch.flush() && file.flush()); };
    const bool isFetched = mPrivate->download(*path, batch, finish);
    if (!isFetched || !keepsModificationTime()) {
        return isFetched;
    }
    // An empty remote file writes nothing; an empty local one is its copy.
    const bool isCopy = file.isOpen() || (file.exists() && file.size() == 0 && file.open(QIODevice::ReadWrite));
    return !isCopy || mPrivate->setLocalTime(file);
}

bool FTPCurl::Private::putData(const QByteArray& data, const RemotePath& target, bool createDirectories)
{
    if (createDirectories && !createDirectory(target.parent())) {
        return false;
    }
    QByteArray content = data;
    QBuffer buffer(&content);
    const int code = upload(&buffer, target);
    const bool success = setResult(code, QStringLiteral("Can't putData to %1").arg(target.canonical()));
    client.setExistingResourceCache(target.canonical(), success ? 1 : -1);
    return success;
}

bool FTPCurl::Private::putFile(QFile& file, const RemotePath& target)
{
    qint64 sent = 0;
    const int code = resumeTransfers && uploadMode == InPlace ? findSent(file, target, sent) : CURLE_OK;
    const bool isComplete = sent > 0 && sent == file.size();
    return code != CURLE_OK || isComplete ? setUploadResult(code, file.fileName(), target)
                                          : putDevice(&file, file.fileName(), target, sent);
}

bool FTPCurl::Private::putDevice(QIODevice* device, const QString& source, const RemotePath& target, qint64 sent)
{
    const int code = upload(device, target, sent);
    closeIfOpen(device);
    // Deliberate: these come from servers that took the file and were slow, or odd, to say so.
    const bool isTolerated = (code == CURLE_OPERATION_TIMEDOUT && stallTimeOut == 0 && isLenient())
        || (code == CURLE_RECV_ERROR && isPersonalPages(settings) && isLenient());
    return setUploadResult(isTolerated ? CURLE_OK : code, source, target);
}

bool FTPCurl::Private::setUploadResult(int code, const QString& source, const RemotePath& target)
{
    const QString context = QStringLiteral("Can't putFile %1 to %2").arg(source, target.canonical());
    const bool success = setResult(code, context);
    client.setExistingResourceCache(target.canonical(), success ? 1 : -1);
    return success;
}

bool FTPCurl::Private::download(const RemotePath& source, QIODevice& device, const std::function<bool()>& finish)
{
    int code = request(VFSCurlData::Download, &device, source);
    const bool isComplete = finish();
    if (code == CURLE_OK && !isComplete) {
        code = CURLE_WRITE_ERROR;
    }
    return setDownloadResult(code, source);
}

bool FTPCurl::Private::setDownloadResult(int code, const RemotePath& source)
{
    return setResult(code, QStringLiteral("Can't getFile for %1").arg(source.canonical()));
}
