#include "ListingLine.h"

#include <algorithm>
#include <cstring>
#include <iterator>

bool ListingLine::Field::startsWith(const char* text) const
{
    const auto length = static_cast<std::int64_t>(std::strlen(text));
    return size() >= length && std::equal(text, text + length, begin);
}

std::int64_t ListingLine::number(Field field)
{
    std::uint64_t value = 0;
    for (const char* at = field.begin; at != field.end; ++at) {
        value = value * 10 + (static_cast<unsigned char>(*at) - std::uint64_t { '0' });
    }
    return static_cast<std::int64_t>(value);
}

int ListingLine::monthIndex(Field field)
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

void ListingLine::setName(ftpparser_entry& entry, Field name)
{
    entry.name = name.begin;
    entry.name_length = static_cast<std::int32_t>(name.size());
}

void ListingLine::setSize(ftpparser_entry& entry, std::int64_t size)
{
    entry.size_kind = SIZE_BYTES;
    entry.size = size;
}

void ListingLine::setTime(ftpparser_entry& entry, ftpparser_mtime_kind kind, std::int64_t time)
{
    entry.mtime_kind = kind;
    entry.mtime = time;
}

void ListingLine::markDirectory(ftpparser_entry& entry)
{
    entry.may_be_dir = 1;
    entry.is_dir = 1;
}

void ListingLine::markFile(ftpparser_entry& entry)
{
    entry.may_be_file = 1;
    entry.is_file = 1;
}
