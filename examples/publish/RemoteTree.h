#pragma once

#include <QString>

#include <functional>

class FTPCurl;
class Report;
class VirtualFile;

/**
 * Walks a folder of a server: the files of a folder, then its sub-folders, by name.
 *
 * The names come from the server. Names such as "..", or with a slash, are refused and reported, so that relative paths
 * never lead out of the folder. A symbolic link to a folder is visited but not entered: it may lead back, or out of the
 * site.
 */
class RemoteTree
{
public:
    enum Kind { File, Folder, LinkToNoFile };

    struct Entry
    {
        QString path; ///< for requests
        QString relative; ///< below the folder of the walk; that of a folder ends in a slash
        Kind kind = File;
    };
    using Visitor = std::function<void(const Entry&)>;

    RemoteTree(FTPCurl& client, Report& report);

    /// Visits each entry below a folder; an empty one is that of the site. A sub-folder that cannot be listed is
    /// reported and skipped. False if the folder itself cannot be listed.
    bool walk(const QString& folder, const Visitor& visit);

    /// The path of the site's folder; an empty path would be the login directory.
    static QString siteFolder(const FTPCurl& client);
    /// The name of an entry of a directory, without the slash of a folder; empty if it is not a plain name.
    static QString plainName(const QString& directory, const VirtualFile& file);

private:
    bool walkFolder(const Entry& folder, int depth);
    bool list(const Entry& folder, QList<Entry>& files, QList<Entry>& folders);

    FTPCurl& mClient;
    Report& mReport;
    Visitor mVisit;
    int mFolders = 0;
};
