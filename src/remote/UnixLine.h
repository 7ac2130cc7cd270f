#pragma once

#include "ListingLine.h"

/// Parses a line in the style of `ls -l`, also without a group, with attributes in brackets, or with the word "folder"
/// in place of the link count. Returns false for any other line; some fields of entry may be set then.
bool readUnixLine(ftpparser_entry& entry, ListingLine::Field line);
