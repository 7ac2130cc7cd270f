#include <tavrel/ftpparser.h>

#include "CalendarTime.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

/// A run of bytes inside the line.
struct Field
{
    char* begin;
    char* end;

    std::int64_t size() const { return end - begin; }
    bool startsWith(const char* text) const
    {
        const auto length = static_cast<std::int64_t>(std::strlen(text));
        return size() >= length && std::equal(text, text + length, begin);
    }
};

/// Any bytes are taken for digits, and the sum wraps around.
std::int64_t number(Field field)
{
    std::uint64_t value = 0;
    for (const char* at = field.begin; at != field.end; ++at) {
        value = value * 10 + (static_cast<unsigned char>(*at) - std::uint64_t { '0' });
    }
    return static_cast<std::int64_t>(value);
}

/// 0 for January; -1 for what is no month.
int monthIndex(Field field)
{
    static const char* const months[]
        = { "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec" };
    constexpr int toUpper = 'A' - 'a';
    const auto isSame = [](char byte, char letter) { return byte == letter || byte == letter + toUpper; };
    const auto isThis = [&](const char* name) { return std::equal(field.begin, field.end, name, isSame); };
    if (field.size() != 3) {
        return -1;
    }
    const auto* const found = std::find_if(std::begin(months), std::end(months), isThis);
    return found == std::end(months) ? -1 : static_cast<int>(found - months);
}

void setName(ftpparser_entry& entry, Field name)
{
    entry.name = name.begin;
    entry.name_length = static_cast<std::int32_t>(name.size());
}

void setSize(ftpparser_entry& entry, std::int64_t size)
{
    entry.size_kind = SIZE_BYTES;
    entry.size = size;
}

void setTime(ftpparser_entry& entry, ftpparser_mtime_kind kind, std::int64_t time)
{
    entry.mtime_kind = kind;
    entry.mtime = time;
}

void markDirectory(ftpparser_entry& entry)
{
    entry.may_be_dir = 1;
    entry.is_dir = 1;
}

void markFile(ftpparser_entry& entry)
{
    entry.may_be_file = 1;
    entry.is_file = 1;
}

/// Goes through a line from left to right. A search that finds nothing ends it, and all that follow fail as well.
class Cursor
{
public:
    explicit Cursor(Field line)
        : mAt(line.begin)
        , mEnd(line.end)
    {
    }

    bool isInside() const { return mAt != mEnd; }
    /// The byte here; a NUL at the end.
    char byte() const { return isInside() ? *mAt : '\0'; }
    Field rest() const { return { mAt, mEnd }; }

    /// Goes on to the first of these bytes; what was passed.
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

/// The columns of a UNIX line, one after the other.
class UnixColumns
{
public:
    explicit UnixColumns(ftpparser_entry& entry)
        : mEntry(entry)
    {
    }

    /// Takes one field; false when the line cannot be one of these.
    bool take(Field field)
    {
        switch (mColumn) {
        case Permissions:
            mColumn = Links;
            return true;
        case Links:
            // A server that says "folder" here leaves out the owner.
            mColumn = field.size() == 6 && *field.begin == 'f' ? FirstNumber : Owner;
            return true;
        case Owner:
            mColumn = FirstNumber;
            return true;
        case FirstNumber:
            mSize = number(field);
            mColumn = SizeOrMonth;
            return true;
        case SizeOrMonth:
            takeSizeOrMonth(field);
            return true;
        case Day:
            mDay = number(field);
            mColumn = TimeOrYear;
            return true;
        case TimeOrYear:
            mColumn = Name;
            return takeTimeOrYear(field);
        case Name:
            return true;
        }
        return true;
    }

    bool areComplete() const { return mColumn == Name; }
    std::int64_t size() const { return mSize; }

private:
    enum Column { Permissions, Links, Owner, FirstNumber, SizeOrMonth, Day, TimeOrYear, Name };

    /// The last number before the month is the size, however many columns there are.
    void takeSizeOrMonth(Field field)
    {
        mMonth = monthIndex(field);
        if (mMonth >= 0) {
            mColumn = Day;
        } else {
            mSize = number(field);
        }
    }

    bool takeTimeOrYear(Field field)
    {
        const std::int64_t length = field.size();
        const std::int64_t colon = length - 3; // of "h:mm" and "hh:mm"
        if ((length == 4 || length == 5) && field.begin[colon] == ':') {
            const std::int64_t hour = number({ field.begin, field.begin + colon });
            const std::int64_t minute = number({ field.begin + colon + 1, field.end });
            const std::int64_t day = CalendarTime::ofDayWithoutYear(mMonth, mDay);
            setTime(mEntry, MTIME_REMOTE_MINUTE, CalendarTime::at(day, hour, minute));
            return true;
        }
        if (length < 4) {
            return false;
        }
        setTime(mEntry, MTIME_REMOTE_DAY, CalendarTime::exact(CalendarTime::ofDay(number(field), mMonth, mDay)));
        return true;
    }

    ftpparser_entry& mEntry;
    Column mColumn = Permissions;
    std::int64_t mSize = 0;
    int mMonth = 0;
    std::int64_t mDay = 0;
};

void markUnixType(ftpparser_entry& entry, char type)
{
    if (type == 'd') {
        markDirectory(entry);
    } else if (type == '-') {
        markFile(entry);
    } else if (type == 'l') {
        entry.may_be_dir = 1;
        entry.is_link = 1;
        markFile(entry);
    }
}

/// A name without the target of a link, or the blanks that some servers put in front.
Field unixName(Field line, Field name)
{
    constexpr int firstArrow = 3;
    if (*line.begin == 'l' && name.size() > firstArrow) {
        static const char arrow[] = " -> ";
        name.end = std::search(name.begin + firstArrow, name.end, arrow, arrow + 4);
    }
    const bool hasAttributes = line.begin[1] == '[' || line.begin[1] == ' ';
    if (hasAttributes && name.size() >= 4 && name.startsWith("   ")) {
        name.begin += 3;
    }
    return name;
}

bool readUnix(ftpparser_entry& entry, Field line)
{
    markUnixType(entry, *line.begin);
    UnixColumns columns(entry);
    char* field = line.begin;
    for (char* at = line.begin + 1; at != line.end && !columns.areComplete(); ++at) {
        if (*at != ' ' || at[-1] == ' ') {
            continue;
        }
        if (!columns.take({ field, at })) {
            return false;
        }
        setName(entry, { at + 1, line.end });
        field = std::find_if(at, line.end, [](char byte) { return byte != ' '; });
    }
    if (!columns.areComplete()) {
        return false;
    }
    setSize(entry, columns.size());
    setName(entry, unixName(line, { entry.name, entry.name + entry.name_length }));
    return true;
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

/// Two digits stand for 1950 to 2049.
std::int64_t fullYear(std::int64_t year)
{
    if (year < 50) {
        year += 2000;
    }
    return year < 1000 ? year + 1900 : year;
}

/// Passes "AM" or "PM"; the hour on a clock of 24.
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
        return readUnix(entry, line);
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
