#pragma once

#include <tavrel/tavrel_export.h>

#include <cstdint>

enum ftpparser_size_kind {
    SIZE_UNKNOWN = 0,
    SIZE_BYTES = 1,
};

enum ftpparser_mtime_kind {
    MTIME_UNKNOWN = 0,
    MTIME_EXACT = 1, ///< an absolute time
    MTIME_REMOTE_MINUTE = 2, ///< to the minute, in the server's own time zone, kept as if that were UTC
    MTIME_REMOTE_DAY = 3, ///< to the day, likewise
};

enum ftpparser_id_kind {
    ID_UNKNOWN = 0,
    ID_FULL = 1,
};

/// One line of a listing. The pointers point into the line; nothing is terminated by a zero.
struct ftpparser_entry
{
    char* name;
    std::int32_t name_length;
    std::int32_t may_be_dir; ///< 0 when it is certainly pointless to change into it
    std::int32_t may_be_file; ///< 0 when it is certainly pointless to retrieve it
    std::int32_t size_kind;
    std::int64_t size;
    std::int32_t mtime_kind;
    std::int64_t mtime; ///< seconds since 1970-01-01 00:00 UTC
    std::int32_t id_kind;
    char* id; ///< the same for the same file, whatever its name
    std::int32_t id_length;
    std::int32_t is_dir;
    std::int32_t is_file; ///< also set for a symbolic link
    std::int32_t is_link;
};

/**
 * Reads one line of the reply to LIST, in one of four styles: EPLF, UNIX, VMS, MS-DOS.
 *
 * Returns 1 and fills entry when the line is one of these, else 0. Exactly length bytes are read, and they may be any.
 * Numbers are not checked: other bytes than digits give some value. Any number of threads may call it.
 *
 * A UNIX date without a year gets the first year, from the one before the current year on, in which it is less than 350
 * days ago or in the future. The current year is determined once per process, with the first such date.
 */
extern "C" TAVREL_EXPORT int ftpparser(ftpparser_entry* entry, char* line, int length);
