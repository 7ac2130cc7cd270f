#include "UploadSource.h"

#include <foundation/Utc.h>

#include <cstring>
#include <utility>

UploadSource::UploadSource(QByteArray path)
    : mPath(std::move(path))
{
}

bool UploadSource::open(OpenMode mode)
{
    QString fault;
    if (!SystemFiles::openToRead(mFile, mPath, fault)) {
        setErrorString(fault);
        return false;
    }
    const std::optional<SystemFiles::Stamp> stamp = SystemFiles::stampOf(mFile);
    if (!stamp) {
        setErrorString(QStringLiteral("it is no longer a file"));
        mFile.close();
        return false;
    }
    mStamp = *stamp;
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
    if (mHasChanged || !isOpen()) {
        return mHasChanged;
    }
    const std::optional<SystemFiles::Stamp> now = SystemFiles::stampOf(mFile);
    return !now || now->size != mStamp.size || now->seconds != mStamp.seconds || now->nanoseconds != mStamp.nanoseconds;
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
    return QDateTime::fromSecsSinceEpoch(mStamp.seconds, UTC);
}

qint64 UploadSource::readData(char* data, qint64 maxSize)
{
    // A file that grows would be longer than announced.
    const qint64 count = mFile.read(data, qMin(maxSize, mSize - mRead));
    if (count > 0) {
        mHash.addData(QByteArray::fromRawData(data, static_cast<int>(count)));
        mRead += count;
    } else if (count < 0) {
        setErrorString(mFile.errorString());
    }
    return count;
}

qint64 UploadSource::writeData(const char* /*data*/, qint64 /*maxSize*/)
{
    return -1;
}
