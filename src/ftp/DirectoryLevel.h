#pragma once

#include <tavrel/VirtualFile.h>

/// A directory on the way down a tree, and how many of its entries have been visited. Walks keep a list of levels
/// instead of recursing, as the depth of a tree is the server's choice.
struct DirectoryLevel
{
    bool isFinished() const { return next == entries.size(); }
    VirtualFile takeNext() { return entries.at(next++); }

    QString path;
    VirtualFileList entries;
    qint64 memory = 0; ///< of the entries, in bytes
    int next = 0;
};
