#include "UploadSource.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

UploadSource::UploadSource(QByteArray path)
    : mPath(std::move(path))
{
}

bool UploadSource::open(OpenMode mode)
{
    // Not blocking, for the case that the file has been replaced by a pipe.
    const int descriptor = ::open(mPath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // NOLINT(*-vararg)
    if (descriptor < 0) {
        setErrorString(QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    mFile.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    if (!readStamp(mStamp)) {
        setErrorString(QStringLiteral("it is no file any more"));
        mFile.close();
        return false;
    }
    mSize = mStamp.size;
    mRead = 0;
    mHash.reset();
    mHasChanged = false;
    return QIODevice::open(mode | QIODevice::Unbuffered);
}

void UploadSource::close()
{
    if (isOpen()) {
        mHasChanged = hasChanged();
        mFile.close();
        QIODevice::close();
    }
}

bool UploadSource::seek(qint64 position)
{
    // Only a request that starts again seeks.
    if (position != 0 || !mFile.seek(0)) {
        return false;
    }
    mRead = 0;
    mHash.reset();
    return QIODevice::seek(0);
}

bool UploadSource::hasChanged() const
{
    Stamp now;
    return mHasChanged
        || (isOpen()
            && !(readStamp(now) && now.size == mStamp.size && now.seconds == mStamp.seconds
                && now.nanoseconds == mStamp.nanoseconds));
}

Digest UploadSource::digest() const
{
    Digest digest {};
    const QByteArray bytes = mHash.result();
    std::memcpy(digest.data(), bytes.constData(), digest.size());
    return digest;
}

QDateTime UploadSource::modified() const
{
    return QDateTime::fromSecsSinceEpoch(mStamp.seconds, Qt::UTC);
}

qint64 UploadSource::readData(char* data, qint64 maxSize)
{
    // A file that grows would be longer than announced.
    const qint64 count = mFile.read(data, qMin(maxSize, mSize - mRead));
    if (count > 0) {
        mHash.addData(data, static_cast<int>(count));
        mRead += count;
    }
    return count;
}

qint64 UploadSource::writeData(const char* /*data*/, qint64 /*maxSize*/)
{
    return -1;
}

bool UploadSource::readStamp(Stamp& stamp) const
{
    struct stat status = {};
    if (fstat(mFile.handle(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    stamp = { status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec };
    return true;
}
