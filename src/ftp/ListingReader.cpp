#include "ListingReader.h"

#include "RemotePath.h"

#include <remote/StrictListing.h>

#include <QDir>

/// An empty name, or "./", would lead a walk in a circle as "." does.
bool ListingReader::standsForDirectoryItself(const QString& name)
{
    const QString clean = QDir::cleanPath(name);
    return clean.isEmpty() || clean == RemotePath::SLASH || clean == QLatin1String(".") || clean == QLatin1String("..");
}

ListingReader::ListingReader(const QByteArray& listing, const QString& directory, bool isUtf8, Reading reading)
    : mListing(listing)
    , mPrefix(directory)
    , mIsUtf8(isUtf8)
    , mReading(reading)
{
    if (!mPrefix.isEmpty() && !mPrefix.endsWith(RemotePath::SLASH)) {
        mPrefix.append(RemotePath::SLASH);
    }
}

/// One line at a time: a listing may have a million of them.
QByteArray ListingReader::takeLine()
{
    auto end = mListing.indexOf('\n', mPosition);
    if (end < 0) {
        end = mListing.size();
    }
    QByteArray line(mListing.constData() + mPosition, end - mPosition);
    mPosition = end + 1;
    // Deliberate: the parser works on bytes of Latin-1 by default, in which other characters are lost.
    return mIsUtf8 ? line : QString::fromUtf8(line.constData(), line.size()).toLatin1();
}

bool ListingReader::readLine(ListingEntry& entry)
{
    QByteArray line = takeLine();
    ftpparser_entry parsed;
    const int size = static_cast<int>(line.size());
    const bool isParsed = mReading == Reading::Lenient && ftpparser(&parsed, line.data(), size) == 1;
    if (!isParsed && readStrictly(&parsed, line.data(), size) != 1) {
        return false;
    }
    const QString name = (mIsUtf8 ? QString::fromUtf8(parsed.name, parsed.name_length)
                                  : QString::fromLatin1(parsed.name, parsed.name_length))
                             .trimmed();
    // Deliberate: removing such an entry would remove another directory.
    if (standsForDirectoryItself(name)) {
        return false;
    }
    // Room for the name and a slash, and no more: a listing may have a million entries.
    entry.path = QString();
    entry.path.reserve(mPrefix.size() + name.size() + 1);
    entry.path += mPrefix;
    entry.path += name;
    entry.size = parsed.size;
    entry.modified = parsed.mtime;
    entry.isDir = parsed.is_dir != 0;
    entry.isFile = parsed.is_file != 0;
    entry.isLink = parsed.is_link != 0;
    if (entry.isDir && !entry.path.endsWith(RemotePath::SLASH)) {
        entry.path.append(RemotePath::SLASH);
    }
    return true;
}
