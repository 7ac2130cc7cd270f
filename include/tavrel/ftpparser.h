#pragma once

#include <tavrel/tavrel_export.h>

#include <cstdint>

/// @file
/// The parser of listing lines.

/// Whether an entry has a size.
enum ftpparser_size_kind {
    SIZE_UNKNOWN = 0, ///< the line has none
    SIZE_BYTES = 1, ///< in bytes
};

/// How exact the time of an entry is.
enum ftpparser_mtime_kind {
    MTIME_UNKNOWN = 0, ///< the line has none
    MTIME_EXACT = 1, ///< an absolute time
    MTIME_REMOTE_MINUTE = 2, ///< to the minute, in the server's unknown time zone, treated as UTC
    MTIME_REMOTE_DAY = 3, ///< to the day, in the server's unknown time zone, treated as UTC
};

/// Whether an entry has an identifier.
enum ftpparser_id_kind {
    ID_UNKNOWN = 0, ///< the line has none
    ID_FULL = 1, ///< unique on the server
};

/// One line of a listing. The pointers point into the line; the texts are not zero-terminated.
struct ftpparser_entry
{
    char* name; ///< as in the line
    std::int32_t name_length; ///< in bytes
    std::int32_t may_be_dir; ///< 0 if changing into it certainly fails
    std::int32_t may_be_file; ///< 0 if retrieving it certainly fails
    std::int32_t size_kind; ///< an ftpparser_size_kind
    std::int64_t size; ///< in bytes
    std::int32_t mtime_kind; ///< an ftpparser_mtime_kind
    std::int64_t mtime; ///< seconds since 1970-01-01 00:00 UTC
    std::int32_t id_kind; ///< an ftpparser_id_kind
    char* id; ///< identifies a file independent of its name
    std::int32_t id_length; ///< in bytes
    std::int32_t is_dir; ///< 1 or 0
    std::int32_t is_file; ///< also set for a symbolic link
    std::int32_t is_link; ///< 1 or 0
};

/**
 * Parses one line of the reply to LIST, in one of four styles: EPLF, UNIX, VMS, MS-DOS.
 *
 * Returns 1 and fills entry if the line is in one of these styles, else 0. Reads exactly length bytes, of any value.
 * Numbers are not checked: bytes other than digits give a meaningless value. May be called from any thread.
 *
 * A UNIX date without a year gets the first year, from the one before the current year on, in which it is less than 350
 * days ago or in the future. The current year is determined once per process, with the first such date.
 */
extern "C" TAVREL_EXPORT int ftpparser(ftpparser_entry* entry, char* line, int length);
