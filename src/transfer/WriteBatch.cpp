#include "WriteBatch.h"

namespace {

// Deliberate: not larger. malloc places a block of 128 KiB or more at the beginning of a page, like libcurl's buffer,
// and some processors (AMD Zen) copy twenty times slower if the target is a few bytes further into its page than the
// source.
constexpr int BATCH_BYTES = 7 * 16 * 1024; // libcurl delivers 16 KiB at a time
constexpr qint64 LONGEST_HOLD_MS = 100;

} // namespace

WriteBatch::WriteBatch(QIODevice& target)
    : mTarget(target)
{
    mSinceFlush.start();
}

bool WriteBatch::open(OpenMode mode)
{
    return (mTarget.isOpen() || mTarget.open(mode)) && QIODevice::open(mode | Unbuffered);
}

qint64 WriteBatch::readData(char* /*data*/, qint64 /*maxSize*/)
{
    return -1;
}

qint64 WriteBatch::writeData(const char* data, qint64 size)
{
    if (mHeld.size() + size > BATCH_BYTES && !flush()) {
        return -1;
    }
    mHeld.reserve(BATCH_BYTES);
    mHeld.append(data, static_cast<int>(size));
    const bool isDue = mSinceFlush.elapsed() >= LONGEST_HOLD_MS;
    return isDue && !flush() ? -1 : size;
}

bool WriteBatch::flush()
{
    const bool isWritten = mHeld.isEmpty() || mTarget.write(mHeld) == mHeld.size();
    mHeld.resize(0); // keeps the memory
    mSinceFlush.restart();
    return isWritten;
}
