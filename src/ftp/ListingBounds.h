#pragma once

#include <QBuffer>

/// How much a server may make the library keep of its listings.
namespace ListingBounds {

constexpr qint64 MAX_BYTES = 64LL * 1024 * 1024; ///< of one listing, as it arrives
constexpr qint64 MAX_MEMORY = 512LL * 1024 * 1024; ///< of the entries of one operation; about two million

constexpr int TOO_LARGE = -2; ///< a result beside libcurl's

/// Takes up to MAX_BYTES; a write beyond that fails.
class Buffer : public QBuffer
{
public:
    explicit Buffer(QByteArray* bytes)
        : QBuffer(bytes)
    {
    }

    bool hasOverflown() const { return mHasOverflown; }

protected:
    qint64 writeData(const char* data, qint64 size) override
    {
        mHasOverflown = mHasOverflown || pos() + size > MAX_BYTES;
        return mHasOverflown ? -1 : QBuffer::writeData(data, size);
    }

private:
    bool mHasOverflown = false;
};

/// The memory of an entry of this type with texts of so many characters.
template <class Entry> qint64 memoryOf(qint64 characters)
{
    constexpr qint64 overhead = 64; // of its allocations
    return static_cast<qint64>(sizeof(Entry)) + overhead + characters * static_cast<qint64>(sizeof(QChar));
}

} // namespace ListingBounds
