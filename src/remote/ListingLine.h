#pragma once

#include <tavrel/ftpparser.h>

#include <cstdint>

/// What the readers of all styles of listings share: looking at a run of bytes, and filling an entry.
namespace ListingLine {

/// A run of bytes inside the line.
struct Field
{
    char* begin;
    char* end;

    std::int64_t size() const { return end - begin; }
    bool startsWith(const char* text) const;
};

/// Any bytes are taken for digits, and the sum wraps around.
std::int64_t number(Field field);
/// 0 for January; -1 for what is no month.
int monthIndex(Field field);

void setName(ftpparser_entry& entry, Field name);
void setSize(ftpparser_entry& entry, std::int64_t size);
void setTime(ftpparser_entry& entry, ftpparser_mtime_kind kind, std::int64_t time);
void markDirectory(ftpparser_entry& entry);
void markFile(ftpparser_entry& entry);

} // namespace ListingLine
