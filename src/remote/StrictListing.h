#pragma once

#include <tavrel/ftpparser.h>

/// Reads a line of a listing as ftpparser() does, but checks it: a line counts only if day, month, time and name can be
/// told apart without a doubt. So a style that ftpparser() mistakes for a different style gives no wrong name.
///
/// It also reads UNIX lines with the day before the month ("24 Nov 19:50", "24 Nov 2019") and MS-DOS lines with a clock
/// of 24 hours ("09-13-10  13:08"). Returns 1 for an entry, else 0.
int readStrictly(ftpparser_entry* entry, char* line, int length);
