#include "FTPCurlPrivate.h"

#include <QIODevice>

#include <new>

namespace {

constexpr int ABORT_TRANSFER = 1;
constexpr size_t ABORT_HEADER = static_cast<size_t>(-1);

bool isOpenFor(QIODevice* device, QIODevice::OpenMode mode)
{
    return device && (device->isOpen() || device->open(mode));
}

bool isZero(double number)
{
    return qFuzzyCompare(number + 1.0, 1.0);
}

} // namespace

size_t FTPCurl::header(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    FTPCurl& owner = *static_cast<VFSCurlData*>(data)->owner;
    const QString line = QString::fromUtf8(static_cast<const char*>(ptr), static_cast<int>(bytes)).trimmed();
    owner.mPrivate->session.takeReply(line);
    Q_EMIT owner.infoServer(line);
    return owner.isInterruptionRequested() ? ABORT_HEADER : bytes;
}

size_t FTPCurl::fread(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    const VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    if (!isOpenFor(request.device, QIODevice::ReadOnly)) {
        return CURL_READFUNC_ABORT;
    }
    const qint64 count = request.device->read(static_cast<char*>(ptr), static_cast<qint64>(bytes));
    // A device that cannot be read gives -1, which libcurl reports as a read error.
    return request.owner->isInterruptionRequested() ? CURL_READFUNC_ABORT : static_cast<size_t>(count);
}

size_t FTPCurl::fwrite(void* ptr, size_t size, size_t nmemb, void* data)
{
    const size_t bytes = size * nmemb;
    if (!data) {
        return bytes;
    }
    const VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    try {
        if (!isOpenFor(request.device, QIODevice::WriteOnly)) {
            return 0;
        }
        const qint64 count = request.device->write(static_cast<const char*>(ptr), static_cast<qint64>(bytes));
        return request.owner->isInterruptionRequested() ? 0 : static_cast<size_t>(count);
    } catch (const std::bad_alloc&) {
        return 0; // libcurl is C: nothing may be thrown through it.
    }
}

int FTPCurl::progress(void* data, double /*dltotal*/, double /*dlnow*/, double ultotal, double ulnow)
{
    if (!data) {
        return 0;
    }
    VFSCurlData& request = *static_cast<VFSCurlData*>(data);
    FTPCurl& owner = *request.owner;
    ProgressThrottle& throttle = owner.mPrivate->session.progressThrottle();
    if (throttle.isDue(request.lastProgress)) {
        if (!isZero(ultotal) && !isZero(ulnow)) {
            Q_EMIT owner.progressUpload(
                request.url.toString(), static_cast<qint64>(ulnow), static_cast<qint64>(ultotal));
            Q_EMIT owner.uploadProgress(static_cast<qint64>(ulnow), static_cast<qint64>(ultotal));
        }
        request.lastProgress = throttle.now();
        throttle.start(request.lastProgress);
    }
    return owner.isInterruptionRequested() ? ABORT_TRANSFER : 0;
}
