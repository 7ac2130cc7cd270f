#include "DetailedListing.h"

#include "FileMode.h"
#include "ListingReader.h"

#include <remote/StrictListing.h>

#include <QHash>

#include <foundation/Utc.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int DATE_DIGITS = 8; ///< of "20200131235959"
constexpr int TIME_DIGITS = 6;
constexpr qint64 MAX_SECONDS = 253402300799; ///< the end of the year 9999
constexpr int TYPE_AND_PERMISSIONS = 10; ///< of "-rw-r--r--"

/// The nine letters after the type; -1 when they are none.
int permissionsOf(const QByteArray& line)
{
    static const char* const letters = "rwxrwxrwx";
    if (line.size() < TYPE_AND_PERMISSIONS || !QByteArray("-dlbcps").contains(line.at(0))) {
        return -1;
    }
    int mode = 0;
    for (int i = 0; i < TYPE_AND_PERMISSIONS - 1; ++i) {
        const char letter = line.at(i + 1);
        const bool isExecution = i % 3 == 2;
        const bool isSpecial = isExecution && letter != '\0' && std::strchr(i == 8 ? "tT" : "sS", letter);
        if (letter != '-' && letter != letters[i] && !isSpecial) {
            return -1;
        }
        const bool isSet = isSpecial ? letter >= 'a' : letter != '-';
        mode |= isSet ? 1 << (8 - i) : 0;
        mode |= isSpecial ? 04000 >> (i / 3) : 0;
    }
    return mode;
}

/// The parser leaves the target at names of one and two characters.
QByteArray nameOf(const ftpparser_entry& parsed)
{
    const QByteArray name(parsed.name, parsed.name_length);
    const auto arrow = parsed.is_link != 0 ? name.indexOf(" -> ") : -1;
    return arrow > 0 ? name.left(arrow) : name;
}

RemoteEntry::Kind kindOf(const ftpparser_entry& parsed)
{
    if (parsed.is_link != 0) {
        return RemoteEntry::Link;
    }
    return parsed.is_dir != 0 ? RemoteEntry::Directory : parsed.is_file != 0 ? RemoteEntry::File : RemoteEntry::Other;
}

void setTime(RemoteEntry& entry, const ftpparser_entry& parsed)
{
    switch (parsed.mtime_kind) {
    case MTIME_EXACT:
        entry.timePrecision = RemoteEntry::ToTheSecond;
        break;
    case MTIME_REMOTE_MINUTE:
        entry.timePrecision = RemoteEntry::ToTheMinute;
        break;
    case MTIME_REMOTE_DAY:
        entry.timePrecision = RemoteEntry::ToTheDay;
        break;
    default:
        return;
    }
    if (qBound(qint64 { 0 }, qint64 { parsed.mtime }, MAX_SECONDS) == parsed.mtime) {
        entry.modified = QDateTime::fromSecsSinceEpoch(parsed.mtime, UTC);
    } else {
        entry.timePrecision = RemoteEntry::UnknownTime; // the parser does not check digits
    }
}

bool readParsed(RemoteEntry& entry, QByteArray line)
{
    ftpparser_entry parsed;
    if (readStrictly(&parsed, line.data(), static_cast<int>(line.size())) != 1) {
        return false;
    }
    const QByteArray name = nameOf(parsed);
    entry.name = QString::fromUtf8(name.constData(), name.size());
    entry.kind = kindOf(parsed);
    entry.size = parsed.size_kind == SIZE_BYTES && parsed.size >= 0 ? parsed.size : -1;
    entry.permissions = permissionsOf(line);
    setTime(entry, parsed);
    return true;
}

/// Of "cdir" and "pdir", too, whose names are not plain ones.
RemoteEntry::Kind kindOf(const QByteArray& type)
{
    if (type == "file") {
        return RemoteEntry::File;
    }
    const bool isLink = type.startsWith("os.unix=slink") || type.startsWith("os.unix=symlink");
    return type.endsWith("dir") ? RemoteEntry::Directory : isLink ? RemoteEntry::Link : RemoteEntry::Other;
}

/// "20240331023000", in UTC. Not read as one text, which would be in local time: that skips an hour of each year.
QDateTime timeOf(const QString& digits)
{
    const QDate date = QDate::fromString(digits.left(DATE_DIGITS), QStringLiteral("yyyyMMdd"));
    const QTime time = QTime::fromString(digits.mid(DATE_DIGITS, TIME_DIGITS), QStringLiteral("hhmmss"));
    return time.isValid() ? QDateTime(date, time, UTC) : QDateTime();
}

void readFact(RemoteEntry& entry, const QByteArray& name, const QByteArray& value)
{
    bool isNumber = false;
    if (name == "type") {
        const QByteArray type = value.toLower();
        entry.kind = kindOf(type);
        if (type == "cdir" || type == "pdir") {
            entry.name = QStringLiteral(".");
        }
    } else if (name == "size") {
        const qint64 size = value.toLongLong(&isNumber);
        entry.size = isNumber && size >= 0 ? size : -1;
    } else if (name == "modify") {
        entry.modified = timeOf(QString::fromLatin1(value));
        entry.timePrecision = entry.modified.isValid() ? RemoteEntry::ToTheSecond : RemoteEntry::UnknownTime;
    } else if (name == "unix.mode") {
        const int mode = value.toInt(&isNumber, FileMode::OCTAL);
        entry.permissions = isNumber && mode >= 0 && mode <= FileMode::MAX ? mode : -1;
    }
}

/// "type=file;size=7; name"
bool readFacts(RemoteEntry& entry, const QByteArray& line)
{
    const auto blank = line.indexOf(' ');
    const QByteArray facts = line.left(blank);
    if (blank < 0 || !(facts.isEmpty() || facts.endsWith(';'))) {
        return false;
    }
    entry.name = QString::fromUtf8(line.constData() + blank + 1, line.size() - blank - 1);
    auto end = facts.indexOf(';');
    for (QByteArray::size_type begin = 0; end >= 0; begin = end + 1, end = facts.indexOf(';', begin)) {
        const QByteArray fact = facts.mid(begin, end - begin);
        const auto equals = fact.indexOf('=');
        readFact(entry, fact.left(equals).toLower(), equals < 0 ? QByteArray() : fact.mid(equals + 1));
    }
    return true;
}

} // namespace

DetailedListing::DetailedListing(const QByteArray& listing, Format format, const QString& directory)
    : mListing(listing)
    , mFormat(format)
    , mDirectory(directory)
{
}

QByteArray DetailedListing::takeLine()
{
    const auto found = mListing.indexOf('\n', mPosition);
    auto end = found < 0 ? mListing.size() : found;
    const auto next = end + 1;
    if (end > mPosition && mListing.at(end - 1) == '\r') {
        --end;
    }
    QByteArray line = mListing.mid(mPosition, end - mPosition);
    mPosition = next;
    return line;
}

bool DetailedListing::readLine(RemoteEntry& entry)
{
    const QByteArray line = takeLine();
    entry = {};
    const bool isKnown = mFormat == Format::Facts ? readFacts(entry, line) : readParsed(entry, line);
    // "total 12" is the head of a listing that may be empty otherwise.
    const bool isUnknown = !(isKnown || line.trimmed().isEmpty() || line.startsWith("total "));
    mKnownLines += isKnown ? 1 : 0;
    mUnknownLines += isUnknown ? 1 : 0;
    return isKnown && accept(entry);
}

bool DetailedListing::accept(RemoteEntry& entry) const
{
    if (entry.name.contains(QLatin1Char('/')) || ListingReader::standsForDirectoryItself(entry.name)) {
        return false;
    }
    entry.path = mDirectory + entry.name;
    if (entry.kind == RemoteEntry::Directory) {
        entry.path += QLatin1Char('/');
    }
    return true;
}

void DetailedListing::markAmbiguous(QVector<RemoteEntry>& entries)
{
    QHash<QString, int> counts;
    for (const RemoteEntry& entry : entries) {
        ++counts[entry.name];
    }
    for (RemoteEntry& entry : entries) {
        if (counts.value(entry.name) > 1) {
            entry.path.chop(entry.kind == RemoteEntry::Directory ? 1 : 0);
            entry.kind = RemoteEntry::Other;
        }
    }
}
