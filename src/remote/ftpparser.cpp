#include <tavrel/ftpparser.h>

#include "CalendarTime.h"
#include "ListingLine.h"
#include "UnixLine.h"

#include <algorithm>
#include <cstring>

using namespace ListingLine;

namespace {

/// Reads a line from left to right. A search without a match moves to the end, where all later searches fail.
class Cursor
{
public:
    explicit Cursor(Field line)
        : mAt(line.begin)
        , mEnd(line.end)
    {
    }

    bool isInside() const { return mAt != mEnd; }
    /// The current byte; NUL at the end.
    char byte() const { return isInside() ? *mAt : '\0'; }
    Field rest() const { return { mAt, mEnd }; }

    /// Moves to the first of these bytes and returns the field before it.
    Field upTo(const char* bytes)
    {
        char* const begin = mAt;
        mAt = std::find_if(mAt, mEnd, [bytes](char byte) { return byte != '\0' && std::strchr(bytes, byte); });
        return { begin, mAt };
    }

    void skipRun(char byte)
    {
        mAt = std::find_if(mAt, mEnd, [byte](char other) { return other != byte; });
    }

    void step() { ++mAt; }

private:
    char* mAt;
    char* mEnd;
};

void readEplfFact(ftpparser_entry& entry, Field fact)
{
    if (fact.size() == 0) {
        return;
    }
    const Field rest { fact.begin + 1, fact.end };
    switch (*fact.begin) {
    case 'i':
        entry.id_kind = ID_FULL;
        entry.id = rest.begin;
        entry.id_length = static_cast<std::int32_t>(rest.size());
        break;
    case 'm':
        setTime(entry, MTIME_EXACT, CalendarTime::exact(number(rest)));
        break;
    case 'r':
        markFile(entry);
        break;
    case 's':
        setSize(entry, number(rest));
        break;
    case '/':
        markDirectory(entry);
        break;
    default:
        break;
    }
}

bool readEplf(ftpparser_entry& entry, Field line)
{
    char* fact = line.begin + 1;
    for (char* at = fact; at != line.end; ++at) {
        if (*at == '\t') {
            setName(entry, { at + 1, line.end });
            return true;
        }
        if (*at == ',') {
            readEplfFact(entry, { fact, at });
            fact = at + 1;
        }
    }
    return false;
}

bool readVms(ftpparser_entry& entry, Field line)
{
    Cursor cursor(line);
    Field name = cursor.upTo(";");
    static const char suffix[] = ".DIR";
    if (name.size() >= 5 && std::equal(suffix, suffix + 4, name.end - 4)) {
        name.end -= 4;
        markDirectory(entry);
    } else {
        markFile(entry);
    }
    setName(entry, name);
    cursor.upTo(" "); // the version
    cursor.skipRun(' ');
    cursor.upTo(" "); // the size, which has no unit
    cursor.skipRun(' ');
    const std::int64_t day = number(cursor.upTo("-"));
    cursor.skipRun('-');
    const int month = monthIndex(cursor.upTo("-"));
    cursor.skipRun('-');
    const std::int64_t year = number(cursor.upTo(" "));
    cursor.skipRun(' ');
    const std::int64_t hour = number(cursor.upTo(":"));
    cursor.skipRun(':');
    const std::int64_t minute = number(cursor.upTo(": "));
    if (month < 0 || !cursor.isInside()) {
        return false;
    }
    setTime(entry, MTIME_REMOTE_MINUTE, CalendarTime::at(CalendarTime::ofDay(year, month, day), hour, minute));
    return true;
}

/// Two digits mean 1950 to 2049.
std::int64_t fullYear(std::int64_t year)
{
    if (year < 50) {
        year += 2000;
    }
    return year < 1000 ? year + 1900 : year;
}

/// Skips "AM" or "PM" and returns the hour on the 24-hour clock.
std::int64_t hourOfDay(Cursor& cursor, std::int64_t hour)
{
    if (hour == 12) {
        hour = 0;
    }
    if (cursor.byte() == 'P') {
        hour = static_cast<std::int64_t>(static_cast<std::uint64_t>(hour) + 12);
    }
    if (cursor.byte() == 'A' || cursor.byte() == 'P') {
        cursor.step();
    }
    if (cursor.byte() == 'M') {
        cursor.step();
    }
    return hour;
}

bool readMsDos(ftpparser_entry& entry, Field line)
{
    Cursor cursor(line);
    const auto month = static_cast<std::int64_t>(static_cast<std::uint64_t>(number(cursor.upTo("-"))) - 1);
    cursor.skipRun('-');
    const std::int64_t day = number(cursor.upTo("-"));
    cursor.skipRun('-');
    const std::int64_t year = fullYear(number(cursor.upTo(" ")));
    cursor.skipRun(' ');
    const std::int64_t clockHour = number(cursor.upTo(":"));
    cursor.skipRun(':');
    const std::int64_t minute = number(cursor.upTo("AP"));
    const std::int64_t hour = hourOfDay(cursor, clockHour);
    cursor.skipRun(' ');
    if (cursor.byte() == '<') {
        markDirectory(entry);
        cursor.upTo(" ");
    } else {
        setSize(entry, number(cursor.upTo(" ")));
        markFile(entry);
    }
    cursor.skipRun(' ');
    if (!cursor.isInside()) {
        return false;
    }
    setName(entry, cursor.rest());
    setTime(entry, MTIME_REMOTE_MINUTE, CalendarTime::at(CalendarTime::ofDay(year, month, day), hour, minute));
    return true;
}

bool readLine(ftpparser_entry& entry, Field line)
{
    switch (*line.begin) {
    case '+':
        return readEplf(entry, line);
    case 'b':
    case 'c':
    case 'd':
    case 'l':
    case 'p':
    case 's':
    case '-':
        return readUnixLine(entry, line);
    default:
        break;
    }
    if (std::find(line.begin, line.end, ';') != line.end) {
        return readVms(entry, line);
    }
    const bool isDigit = *line.begin >= '0' && *line.begin <= '9';
    return isDigit && readMsDos(entry, line);
}

} // namespace

int ftpparser(ftpparser_entry* entry, char* line, int length)
{
    *entry = ftpparser_entry {};
    return length >= 2 && readLine(*entry, { line, line + length }) ? 1 : 0;
}
