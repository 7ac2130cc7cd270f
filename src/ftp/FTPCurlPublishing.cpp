#include "ErrorSource.h"
#include "FTPCurlPrivate.h"

#include <foundation/Utc.h>
#include <foundation/raiseError.h>

#include <QDateTime>
#include <QFileDevice>
#include <QRandomGenerator>

namespace {

const QString SIZE_REPLY = QStringLiteral("213 ");

} // namespace

bool FTPCurl::rename(const QString& from, const QString& to)
{
    const auto source = mPrivate->accept(from, "rename", "rename: from is empty", __LINE__);
    if (!source) {
        return false;
    }
    const auto target = mPrivate->accept(to, "rename", "rename: to is empty", __LINE__);
    return target && mPrivate->rename(*source, *target);
}

bool FTPCurl::setModificationTime(const QString& path, const QDateTime& time)
{
    const auto file = mPrivate->accept(path, "setModificationTime", "setModificationTime: path is empty", __LINE__);
    if (file && !time.isValid()) {
        // Without a time, MDTM is a question.
        return mPrivate->refuse(QStringLiteral("setModificationTime: time is not valid"), __LINE__);
    }
    return file && mPrivate->setRemoteTime(*file, time);
}

bool FTPCurl::fileSize(const QString& path, qint64& size)
{
    const auto file = mPrivate->accept(path, "fileSize", "fileSize: path is empty", __LINE__);
    if (!file) {
        return false;
    }
    int code = mPrivate->findSize(*file, size);
    if (code == CURLE_OK && size < 0) {
        code = CURLE_PARTIAL_FILE;
    }
    return mPrivate->setResult(code, QStringLiteral("Can't find the size of %1").arg(file->canonical()));
}

bool FTPCurl::Private::rename(const RemotePath& from, const RemotePath& to)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::rename(const QString &, const QString &)");
    const RemotePath source = from.withoutTrailingSlash();
    const RemotePath target = to.withoutTrailingSlash();
    const int code = requestCommands(VFSCurlData::Command, texts.rename(commandPath(source), commandPath(target)));
    // Nothing is known any more of the files below a directory that has moved.
    const auto isBelow = [&](const QString& key) {
        return key.startsWith(source.canonical() + QLatin1Char('/'))
            || key.startsWith(target.canonical() + QLatin1Char('/'));
    };
    for (auto known = existingResources.begin(); known != existingResources.end();) {
        if (isBelow(known.key())) {
            known = existingResources.erase(known);
        } else {
            ++known;
        }
    }
    const bool success
        = setResult(code, QStringLiteral("Can't rename %1 to %2").arg(source.canonical(), target.canonical()));
    client.setExistingResourceCache(source.canonical(), success ? 0 : -1);
    client.setExistingResourceCache(target.canonical(), success ? 1 : -1);
    return success;
}

RemotePath FTPCurl::Private::besides(const RemotePath& file, const QString& suffix) const
{
    const QString number = QStringLiteral("%1").arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
    return path(file.withoutTrailingSlash().canonical() + QLatin1Char('.') + number + suffix);
}

/// From the position of the device, after what was sent before. The result is libcurl's, CURLE_PARTIAL_FILE if the
/// server has not got the whole file.
int FTPCurl::Private::upload(QIODevice* device, const RemotePath& target, qint64 sent)
{
    const bool isInPlace = uploadMode == InPlace;
    const RemotePath written = isInPlace ? target : besides(target, QStringLiteral(".part"));
    const qint64 size = device ? qMax(device->size() - device->pos(), qint64 { 0 }) : 0;
    int code = sent > 0 ? append(device, target, sent) : request(VFSCurlData::Upload, device, written);
    // libcurl reads only once the server has opened the file.
    const bool hasBegun = code == CURLE_READ_ERROR || session.mayHaveLeftFile();
    const bool isFileLeft = code == CURLE_OK || (device && device->isReadable() && hasBegun);
    if (code == CURLE_OK && sent == 0 && isChecked()) {
        code = compareSize(written, size);
    }
    if (isInPlace) {
        return code;
    }
    if (code == CURLE_OK) {
        code = replace(target, written);
    }
    if (code != CURLE_OK && isFileLeft) {
        discard(written);
    }
    return code;
}

/// Negative if the server does not tell it.
int FTPCurl::Private::findSize(const RemotePath& file, qint64& size)
{
    const int code = request(VFSCurlData::ExistenceTest, nullptr, file);
    curl_off_t found = -1;
    curl_easy_getinfo(session.handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &found);
    // Over SFTP libcurl gives no size for an empty file.
    size = found < 0 && settings.ftpProtocol() == FTPSettings::SFTP ? 0 : found;
    return code;
}

/// One command in place of the three of findSize(), which is asked when the server has another answer. Only after an
/// upload: otherwise the server may be in ASCII mode, in which the size is another.
bool FTPCurl::Private::findUploadedSize(const RemotePath& file, qint64& size)
{
    if (settings.ftpProtocol() == FTPSettings::SFTP
        || requestCommands(VFSCurlData::Command, { QStringLiteral("SIZE ") + commandPath(file) }) != CURLE_OK) {
        return false;
    }
    bool isNumber = false;
    const QString reply = session.reason().reply;
    size = reply.mid(SIZE_REPLY.size()).trimmed().toLongLong(&isNumber);
    return isNumber && reply.startsWith(SIZE_REPLY);
}

int FTPCurl::Private::compareSize(const RemotePath& file, qint64 size)
{
    qint64 found = -1;
    const int code = findUploadedSize(file, found) ? CURLE_OK : findSize(file, found);
    return code == CURLE_OK && found != size ? CURLE_PARTIAL_FILE : code;
}

int FTPCurl::Private::replace(const RemotePath& target, const RemotePath& part)
{
    const CommandTexts texts = commandTexts("int FTPCurl::replace(const RemotePath &, const RemotePath &)");
    const RemotePath old = besides(target, QStringLiteral(".old"));
    const QStringList rename = texts.rename(commandPath(part), commandPath(target));
    int code = requestCommands(VFSCurlData::Command, rename);
    if (code != CURLE_QUOTE_ERROR) {
        return code;
    }
    // The server does not replace a file by a rename. In one request, so that the name is missing for a moment only.
    code = requestCommands(VFSCurlData::Command, texts.rename(commandPath(target), commandPath(old)) + rename);
    QStringList putBack = texts.rename(commandPath(old), commandPath(target));
    if (code == CURLE_OK) {
        if (requestCommands(VFSCurlData::Removal, { texts.remove(commandPath(old), false) }) != CURLE_QUOTE_ERROR) {
            return code;
        }
        // It is a directory, for example.
        code = CURLE_QUOTE_ERROR;
        putBack = texts.rename(commandPath(target), commandPath(part)) + putBack;
    }
    const RequestReason reason = session.reason();
    requestCommands(VFSCurlData::Command, putBack);
    session.setReason(reason);
    return code;
}

void FTPCurl::Private::discard(const RemotePath& part)
{
    const RequestReason reason = session.reason();
    const CommandTexts texts = commandTexts("void FTPCurl::discard(const RemotePath &)");
    requestCommands(VFSCurlData::Removal, { texts.remove(commandPath(part), false) });
    session.setReason(reason);
}

bool FTPCurl::Private::setRemoteTime(const RemotePath& file, const QDateTime& time)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::putFile(const QString &, const QString &, bool)");
    for (const QString& command : texts.setTime(commandPath(file), time)) {
        const int code = requestCommands(VFSCurlData::Command, { command });
        if (code != CURLE_QUOTE_ERROR) {
            return setResult(code, QStringLiteral("Can't set the time of %1").arg(file.canonical()));
        }
    }
    return failToKeepTime(file.canonical());
}

bool FTPCurl::Private::setLocalTime(QFileDevice& file)
{
    curl_off_t time = -1;
    curl_easy_getinfo(session.handle(), CURLINFO_FILETIME_T, &time);
    return (time >= 0 && file.setFileTime(QDateTime::fromSecsSinceEpoch(time, UTC), QFileDevice::FileModificationTime))
        || failToKeepTime(file.fileName());
}

bool FTPCurl::Private::failToKeepTime(const QString& path)
{
    raiseError(client, FTPCurl::TIME_NOT_KEPT, "TIME_NOT_KEPT", { ERROR_SOURCE, __LINE__ },
        QStringLiteral("Can't keep the modification time of %1").arg(path));
    return false;
}
