#pragma once

#include <tavrel/RemoteEntry.h>

#include <QString>

#include <functional>

class FTPCurl;
class Report;

/**
 * Walks a folder of a server: the files of a folder, then its sub-folders, by name.
 *
 * Symbolic links are visited and not entered: they may lead back, or out of the site.
 */
class RemoteTree
{
public:
    /// relative is the path below the folder of the walk; the path of a folder ends in a slash.
    using Visitor = std::function<void(const RemoteEntry& entry, const QString& relative)>;

    /// Above any real site; a server can list folders without end.
    static constexpr int MAX_DEPTH = 50;

    RemoteTree(FTPCurl& client, Report& report);

    /// Visits each entry below a folder; an empty path stands for the site. A sub-folder that cannot be listed is
    /// reported and skipped.
    void walk(const QString& folder, const Visitor& visit);

    /// The path of a folder in requests; an empty path stands for the site.
    static QString pathOf(const FTPCurl& client, const QString& folder);
    /// The entries of a folder, by name; nothing, with a failure in the report, if it cannot be listed.
    static QVector<RemoteEntry> list(FTPCurl& client, Report& report, const QString& path);

private:
    void walkFolder(const QString& path, const QString& relative, int depth);

    FTPCurl& mClient;
    Report& mReport;
    Visitor mVisit;
    int mFolders = 0;
};
