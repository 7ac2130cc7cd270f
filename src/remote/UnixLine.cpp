#include "UnixLine.h"

#include "CalendarTime.h"

#include <algorithm>

using namespace ListingLine;

namespace {

/// Parses the columns of a UNIX line in order.
class UnixColumns
{
public:
    explicit UnixColumns(ftpparser_entry& entry)
        : mEntry(entry)
    {
    }

    /// Takes the next field; false if the line is not in this style.
    bool take(Field field)
    {
        switch (mColumn) {
        case Permissions:
            mColumn = Links;
            return true;
        case Links:
            // A server that sends "folder" here omits the owner.
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

    /// The last number before the month is the size, as the number of owner and group columns varies.
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

/// The name without the target of a link and without the blanks that some servers put in front.
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

} // namespace

bool readUnixLine(ftpparser_entry& entry, Field line)
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
