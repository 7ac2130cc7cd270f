#pragma once

#include <tavrel/ftpparser.h>

#include <cstdint>

/// Shared by the parsers of all listing styles: reading a field, and filling an entry.
namespace ListingLine {

/// A range of bytes in the line.
struct Field
{
    char* begin;
    char* end;

    std::int64_t size() const { return end - begin; }
    bool startsWith(const char* text) const;
};

/// Does not check that the bytes are digits; the result wraps around.
std::int64_t number(Field field);
/// 0 for January; -1 if the field is not a month.
int monthIndex(Field field);

void setName(ftpparser_entry& entry, Field name);
void setSize(ftpparser_entry& entry, std::int64_t size);
void setTime(ftpparser_entry& entry, ftpparser_mtime_kind kind, std::int64_t time);
void markDirectory(ftpparser_entry& entry);
void markFile(ftpparser_entry& entry);

} // namespace ListingLine
