#include "ResumedFile.h"

#include <cstring>

ResumedFile::ResumedFile(const QString& path)
    : QFile(path)
{
    QFile file(path);
    if (file.open(ReadOnly)) {
        mOffset = qMax(file.size() - TAIL_BYTES, qint64 { 0 });
        file.seek(mOffset);
        mTail = file.read(TAIL_BYTES);
    }
}

bool ResumedFile::open(OpenMode /*mode*/)
{
    return !mTail.isEmpty() && QFile::open(WriteOnly | Append);
}

qint64 ResumedFile::writeData(const char* data, qint64 size)
{
    const int compared = static_cast<int>(qMin(size, qint64 { mTail.size() - mCompared }));
    if (std::memcmp(data, mTail.constData() + mCompared, static_cast<size_t>(compared)) != 0) {
        return -1;
    }
    mCompared += compared;
    const qint64 written = QFile::writeData(data + compared, size - compared);
    return written < 0 ? written : compared + written;
}
