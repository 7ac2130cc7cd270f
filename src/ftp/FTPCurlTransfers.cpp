#include <tavrel/FTPCurl.h>

#include <foundation/FileUtils.h>
#include <transfer/WriteBatch.h>

#include <QBuffer>
#include <QFile>

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
    if (!accepts(target, "putData", "putData: target is empty", __LINE__)) {
        return false;
    }
    const QString path = canonicalizedFilePath(target);
    if (createDirectories && !createDirectoryIfNecessary(path)) {
        return false;
    }
    QByteArray content = data;
    QBuffer buffer(&content);
    const int code = request(VFSCurlData::Upload, &buffer, path);
    const bool success = handleResult(code, QStringLiteral("Can't putData to %1").arg(path));
    setExistingResourceCache(path, success ? 1 : -1);
    return success;
}

bool FTPCurl::putFile(const QString& source, const QString& target, bool createDirectories)
{
    if (!accepts(target, "putFile", "putData: target is empty", __LINE__)) {
        return false;
    }
    if (isPersonalPages(mFtpSettings)) {
        // Deliberate: that server gets its files from memory, an unreadable one as an empty one.
        return putData(FileUtils::readFileContent(source, false), target, createDirectories);
    }
    const QString path = canonicalizedFilePath(target);
    if (createDirectories && !createDirectoryIfNecessary(path)) {
        return false;
    }
    QFile file(source);
    if (!file.open(QIODevice::ReadOnly)) {
        return refuse(QStringLiteral("putFile: source cant be opened ") + source, __LINE__);
    }
    return putDataFromIoDevice(&file, source, path);
}

bool FTPCurl::putDataFromIoDevice(QIODevice* device, const QString& source, const QString& target)
{
    if (!accepts(target, "putDataFromIoDevice", "putData: target is empty", __LINE__)) {
        return false;
    }
    const QString path = canonicalizedFilePath(target);
    const int code = request(VFSCurlData::Upload, device, path);
    closeIfOpen(device);
    // Deliberate: these come from servers that took the file and were slow, or odd, to say so.
    const bool isTolerated
        = code == CURLE_OPERATION_TIMEDOUT || (code == CURLE_RECV_ERROR && isPersonalPages(mFtpSettings));
    const QString context = QStringLiteral("Can't putFile %1 to %2").arg(source, path);
    const bool success = handleResult(isTolerated ? CURLE_OK : code, context);
    setExistingResourceCache(path, success ? 1 : -1);
    return success;
}

bool FTPCurl::getData(const QString& source, QByteArray& data)
{
    data.clear();
    QBuffer buffer(&data);
    return download(source, buffer, [] { return true; });
}

bool FTPCurl::getFile(const QString& source, const QString& target)
{
    QFile file(target);
    WriteBatch batch(file);
    // What the disk has no room for may show only when it gets the last bytes.
    const auto finish = [&] { return !file.isOpen() || (batch.flush() && file.flush()); };
    return download(source, batch, finish);
}

bool FTPCurl::download(const QString& source, QIODevice& device, const std::function<bool()>& finish)
{
    if (!accepts(source, "getFile", "getFile: source is empty", __LINE__)) {
        return false;
    }
    const QString path = canonicalizedFilePath(source);
    int code = request(VFSCurlData::Download, &device, path);
    const bool isComplete = finish();
    if (code == CURLE_OK && !isComplete) {
        code = CURLE_WRITE_ERROR;
    }
    return handleResult(code, QStringLiteral("Can't getFile for %1").arg(path));
}
