#include "StrictListing.h"

#include "CalendarTime.h"
#include "ListingLine.h"

#include <algorithm>
#include <cstring>

using namespace ListingLine;

namespace {

constexpr std::int64_t MAX_DAY = 31;
constexpr std::int64_t MAX_HOUR = 23;
constexpr std::int64_t MAX_MINUTE = 59;
constexpr std::int64_t NOON = 12;

bool isNumber(Field field, std::int64_t least, std::int64_t most)
{
    constexpr std::int64_t maxDigits = 18;
    const bool areDigits = std::all_of(field.begin, field.end, [](char byte) { return byte >= '0' && byte <= '9'; });
    return field.size() > 0 && field.size() <= maxDigits && areDigits && number(field) >= least
        && number(field) <= most;
}

/// "h:mm" or "hh:mm"
bool isTime(Field field)
{
    const std::int64_t colon = field.size() - 3;
    return (colon == 1 || colon == 2) && field.begin[colon] == ':'
        && isNumber({ field.begin, field.begin + colon }, 0, MAX_HOUR)
        && isNumber({ field.begin + colon + 1, field.end }, 0, MAX_MINUTE);
}

bool isYear(Field field)
{
    return field.size() >= 4 && isNumber(field, 0, INT32_MAX);
}

bool isDay(Field field)
{
    return field.size() <= 2 && isNumber(field, 1, MAX_DAY);
}

/// Takes the next field after the blanks at the beginning of rest.
Field takeField(Field& rest)
{
    const auto isBlank = [](char byte) { return byte == ' '; };
    char* const begin = std::find_if_not(rest.begin, rest.end, isBlank);
    rest.begin = std::find_if(begin, rest.end, isBlank);
    return { begin, rest.begin };
}

/// Takes the last field before the blanks at the end of rest.
Field takeLastField(Field& rest)
{
    while (rest.size() > 0 && rest.end[-1] == ' ') {
        --rest.end;
    }
    char* const end = rest.end;
    while (rest.size() > 0 && rest.end[-1] != ' ') {
        --rest.end;
    }
    return { rest.end, end };
}

/// Whether the year of a date is followed by a time, so that the name begins later or with a time: that is not clear.
bool isDoubtful(Field timeOrYear, Field name)
{
    return isYear(timeOrYear) && isTime(takeField(name));
}

/// Whether the columns in front of the name are what ftpparser() has taken them for.
bool isInOrder(const ftpparser_entry& entry, Field line)
{
    const bool isDevice = *line.begin == 'b' || *line.begin == 'c'; // which has two numbers in place of a size
    Field before { line.begin, entry.name };
    const Field timeOrYear = takeLastField(before);
    const Field day = takeLastField(before);
    const Field month = takeLastField(before);
    const Field name { entry.name, entry.name + entry.name_length };
    return (isTime(timeOrYear) || isYear(timeOrYear)) && isDay(day) && monthIndex(month) >= 0
        && (isDevice || isNumber(takeLastField(before), 0, INT64_MAX)) && !isDoubtful(timeOrYear, name);
}

void setDate(ftpparser_entry& entry, Field day, Field month, Field timeOrYear)
{
    if (isYear(timeOrYear)) {
        const std::int64_t time = CalendarTime::ofDay(number(timeOrYear), monthIndex(month), number(day));
        setTime(entry, MTIME_REMOTE_DAY, CalendarTime::exact(time));
        return;
    }
    char* const colon = timeOrYear.end - 3;
    const std::int64_t start = CalendarTime::ofDayWithoutYear(monthIndex(month), number(day));
    setTime(entry, MTIME_REMOTE_MINUTE,
        CalendarTime::at(start, number({ timeOrYear.begin, colon }), number({ colon + 1, timeOrYear.end })));
}

void setUnixType(ftpparser_entry& entry, char type)
{
    entry.may_be_dir = type == 'd' || type == 'l';
    entry.is_dir = type == 'd';
    entry.may_be_file = type == '-' || type == 'l';
    entry.is_file = entry.may_be_file;
    entry.is_link = type == 'l';
}

/// "-rw-r--r-- 1 owner group 531 24 Nov 19:50 name"; the columns before the size vary.
bool readDayFirst(ftpparser_entry& entry, Field line)
{
    constexpr int minBefore = 2; // permissions and size
    Field rest = line;
    Field size {};
    Field day {};
    Field month {};
    int fields = 0;
    do {
        size = day;
        day = month;
        month = takeField(rest);
        ++fields;
    } while (month.size() > 0 && !(monthIndex(month) >= 0 && fields > minBefore && isDay(day)));
    const Field timeOrYear = takeField(rest);
    const bool isDate = month.size() > 0 && (isTime(timeOrYear) || (isYear(timeOrYear) && timeOrYear.size() == 4));
    if (!isDate || !isNumber(size, 0, INT64_MAX) || rest.size() < 2) {
        return false;
    }
    Field name { rest.begin + 1, rest.end };
    static const char arrow[] = " -> ";
    name.end = *line.begin == 'l' ? std::search(name.begin, name.end, arrow, arrow + 4) : name.end;
    if (isDoubtful(timeOrYear, name) || name.size() == 0) {
        return false;
    }
    setUnixType(entry, *line.begin);
    setSize(entry, number(size));
    setName(entry, name);
    setDate(entry, day, month, timeOrYear);
    return true;
}

/// "mm-dd-yy" or "mm-dd-yyyy"
bool readDosDate(Field date, std::int64_t& start)
{
    constexpr std::int64_t sizes[] = { 8, 10 };
    constexpr int december = 12;
    if ((date.size() != sizes[0] && date.size() != sizes[1]) || date.begin[2] != '-' || date.begin[5] != '-') {
        return false;
    }
    const Field month { date.begin, date.begin + 2 };
    const Field day { date.begin + 3, date.begin + 5 };
    const Field year { date.begin + 6, date.end };
    if (!isNumber(month, 1, december) || !isDay(day) || !isNumber(year, 0, INT32_MAX)) {
        return false;
    }
    std::int64_t fullYear = number(year);
    fullYear += year.size() == 4 ? 0 : fullYear < 50 ? 2000 : 1900;
    start = CalendarTime::ofDay(fullYear, number(month) - 1, number(day));
    return true;
}

/// "hh:mm", "hh:mmAM" or "hh:mmPM"
bool readDosTime(Field time, std::int64_t& hour, std::int64_t& minute)
{
    const bool isMorning = time.size() > 2 && std::memcmp(time.end - 2, "AM", 2) == 0;
    const bool isEvening = time.size() > 2 && std::memcmp(time.end - 2, "PM", 2) == 0;
    time.end -= isMorning || isEvening ? 2 : 0;
    if (!isTime(time)) {
        return false;
    }
    hour = number({ time.begin, time.end - 3 });
    minute = number({ time.end - 2, time.end });
    hour = (isMorning || isEvening) && hour == NOON ? 0 : hour;
    hour += isEvening ? NOON : 0;
    return hour <= MAX_HOUR;
}

bool readDos(ftpparser_entry& entry, Field line)
{
    Field rest = line;
    std::int64_t day = 0;
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    if (!readDosDate(takeField(rest), day) || !readDosTime(takeField(rest), hour, minute)) {
        return false;
    }
    const Field sizeOrMark = takeField(rest);
    rest.begin = std::find_if(rest.begin, rest.end, [](char byte) { return byte != ' '; });
    const bool isMark = sizeOrMark.size() > 2 && *sizeOrMark.begin == '<' && sizeOrMark.end[-1] == '>';
    if (rest.size() == 0 || !(isMark || isNumber(sizeOrMark, 0, INT64_MAX))) {
        return false;
    }
    if (isMark) {
        markDirectory(entry);
    } else {
        setSize(entry, number(sizeOrMark));
        markFile(entry);
    }
    setName(entry, rest);
    setTime(entry, MTIME_REMOTE_MINUTE, CalendarTime::at(day, hour, minute));
    return true;
}

bool isUnixType(char byte)
{
    return byte != '\0' && std::strchr("bcdlps-", byte);
}

/// A line that makes sense in both orders of day and month, with different names, may have been made to.
bool readUnix(ftpparser_entry& entry, Field line)
{
    ftpparser_entry other {};
    const bool isDayFirst = readDayFirst(other, line);
    const bool isMonthFirst
        = ftpparser(&entry, line.begin, static_cast<int>(line.size())) == 1 && isInOrder(entry, line);
    if (isDayFirst && isMonthFirst) {
        return false;
    }
    entry = isDayFirst ? other : entry;
    return isDayFirst || isMonthFirst;
}

/// EPLF or VMS; names of VMS have no blanks, which lines of other styles have before a semicolon.
bool readOther(ftpparser_entry& entry, Field line)
{
    if (*line.begin != '+' && std::find(line.begin, line.end, ';') == line.end) {
        return false;
    }
    const bool isRead = ftpparser(&entry, line.begin, static_cast<int>(line.size())) == 1;
    char* const end = entry.name + entry.name_length;
    return isRead && (*line.begin == '+' || std::find(line.begin, end, ' ') == end);
}

} // namespace

int readStrictly(ftpparser_entry* entry, char* line, int length)
{
    const Field field { line, line + length };
    *entry = ftpparser_entry {};
    if (length < 2) {
        return 0;
    }
    const bool isRead
        = isUnixType(*line) ? readUnix(*entry, field) : readDos(*entry, field) || readOther(*entry, field);
    return isRead ? 1 : 0;
}
