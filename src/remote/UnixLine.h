#pragma once

#include "ListingLine.h"

/// Reads a line in the style of `ls -l`, also without a group, with attributes in brackets, or with the word "folder"
/// in place of the links. False, and some fields of entry may be set, when it is none.
bool readUnixLine(ftpparser_entry& entry, ListingLine::Field line);
