#include "FTPCurlPrivate.h"
#include "ResumedFile.h"

#include <transfer/WriteBatch.h>

#include <QBuffer>
#include <QSaveFile>

namespace {

/// Whether a request for the rest of a file has shown that the file is another or the server cannot do it. Other
/// failures are the result of the transfer.
bool isNotTheRest(int code)
{
    switch (code) {
    case CURLE_OK:
    case CURLE_BAD_DOWNLOAD_RESUME:
    case CURLE_RANGE_ERROR: // libcurl 8.21, for an offset beyond the end over SFTP
    case CURLE_FTP_COULDNT_USE_REST:
        return true;
    default:
        return false;
    }
}

bool isMissing(int code)
{
    return code == CURLE_REMOTE_FILE_NOT_FOUND || code == CURLE_REMOTE_ACCESS_DENIED;
}

/// libcurl 7.88.1 takes the reply over FTPS for one to PASV.
bool isRefused(int code)
{
    return code == CURLE_UPLOAD_FAILED || code == CURLE_REMOTE_ACCESS_DENIED || code == CURLE_FTP_WEIRD_PASV_REPLY;
}

} // namespace

void FTPOptions::setResumeTransfers(bool resume)
{
    mPrivate->resumeTransfers = resume;
}

bool FTPOptions::resumesTransfers() const
{
    return mPrivate->resumeTransfers;
}

/// Sends the rest of a device, or all of it if the server does not append: ProFTPD refuses to by default, and some SFTP
/// servers ignore the flag and write from the beginning of the file.
int FTPCurl::Private::append(QIODevice* device, const RemotePath& target, qint64 sent)
{
    curl_easy_setopt(session.handle(), CURLOPT_APPEND, 1L);
    int code = request(VFSCurlData::Upload, device, target);
    curl_easy_setopt(session.handle(), CURLOPT_APPEND, 0L);
    bool isRepeated = isRefused(code) && device->pos() == sent;
    if (code == CURLE_OK) {
        code = compareAppended(*device, target, sent);
        isRepeated = code == CURLE_PARTIAL_FILE;
    }
    if (!isRepeated || !device->seek(0)) {
        return code;
    }
    code = request(VFSCurlData::Upload, device, target);
    return code == CURLE_OK ? compareSize(target, device->size()) : code;
}

/// CURLE_PARTIAL_FILE if size, seam or end of a file on the server differ from its source. Over FTP the seam is
/// not read: libcurl closes the connection after a part from the middle.
int FTPCurl::Private::compareAppended(QIODevice& source, const RemotePath& target, qint64 sent)
{
    const qint64 seam = qMax(sent - ResumedFile::TAIL_BYTES / 2, qint64 { 0 });
    const qint64 end = qMax(source.size() - ResumedFile::TAIL_BYTES, qint64 { 0 });
    int code = compareSize(target, source.size());
    if (code == CURLE_OK && seam < end && settings.ftpProtocol() == FTPSettings::SFTP) {
        code = comparePart(source, target, seam);
    }
    return code == CURLE_OK ? comparePart(source, target, end) : code;
}

/// Compares as many bytes from an offset on as a ResumedFile does.
int FTPCurl::Private::comparePart(QIODevice& source, const RemotePath& target, qint64 offset)
{
    const qint64 size = qMin(ResumedFile::TAIL_BYTES, source.size() - offset);
    const bool isAtEnd = offset + size == source.size();
    const QString last = isAtEnd ? QString() : QString::number(offset + size - 1);
    QByteArray part;
    QBuffer buffer(&part);
    curl_easy_setopt(session.handle(), CURLOPT_RANGE, QStringLiteral("%1-%2").arg(offset).arg(last).toLatin1().data());
    const int code = request(VFSCurlData::Download, &buffer, target);
    curl_easy_setopt(session.handle(), CURLOPT_RANGE, nullptr);
    const bool isSame = part.size() == size && source.seek(offset) && source.read(size) == part;
    return code == CURLE_OK && !isSame ? CURLE_PARTIAL_FILE : code;
}

int FTPCurl::Private::requestRest(QIODevice& device, const RemotePath& path, qint64 offset)
{
    curl_easy_setopt(session.handle(), CURLOPT_RESUME_FROM_LARGE, curl_off_t { offset });
    const int code = request(VFSCurlData::Download, &device, path);
    curl_easy_setopt(session.handle(), CURLOPT_RESUME_FROM_LARGE, curl_off_t { 0 });
    return code;
}

bool FTPCurl::Private::resumeDownload(const RemotePath& source, const QString& target)
{
    ResumedFile file(target);
    WriteBatch batch(file);
    int code = requestRest(batch, source, file.offset());
    // Also after a failure: the next transfer continues from here.
    const bool isWritten = batch.flush() && (!file.isOpen() || file.flush());
    if (code == CURLE_OK && !isWritten) {
        code = CURLE_WRITE_ERROR;
    }
    if (!file.isConfirmed() && (isNotTheRest(code) || code == CURLE_WRITE_ERROR)) {
        return replaceFile(source, target);
    }
    return setDownloadResult(code, source) && (!keepModificationTime || setLocalTime(file));
}

/// Keeps the local file until the whole remote one has come.
bool FTPCurl::Private::replaceFile(const RemotePath& source, const QString& target)
{
    QSaveFile file(target);
    WriteBatch batch(file);
    int code = file.open(QIODevice::WriteOnly) ? request(VFSCurlData::Download, &batch, source) : CURLE_WRITE_ERROR;
    if (code == CURLE_OK && !(batch.flush() && file.flush())) {
        code = CURLE_WRITE_ERROR;
    }
    if (code != CURLE_OK) {
        return setDownloadResult(code, source);
    }
    client.clearError();
    const bool isTimeKept = !keepModificationTime || setLocalTime(file);
    return file.commit() ? isTimeKept : setDownloadResult(CURLE_WRITE_ERROR, source);
}

/// How much of a file the server has from an earlier upload; 0 if that is nothing or something else. The result is
/// libcurl's.
int FTPCurl::Private::findSent(QFile& file, const RemotePath& target, qint64& sent)
{
    sent = 0;
    qint64 size = -1;
    int code = findSize(target, size);
    if (code != CURLE_OK || size <= 0 || size > file.size()) {
        return isMissing(code) ? CURLE_OK : code;
    }
    const qint64 offset = qMax(size - ResumedFile::TAIL_BYTES, qint64 { 0 });
    QByteArray tail;
    QBuffer buffer(&tail);
    code = requestRest(buffer, target, offset);
    if (code == CURLE_OK && file.seek(offset) && tail.size() == size - offset && file.read(tail.size()) == tail) {
        sent = size;
    }
    if (!file.seek(sent)) {
        return CURLE_READ_ERROR;
    }
    return isNotTheRest(code) ? CURLE_OK : code;
}
