#pragma once

#include <QString>

#include <functional>

class FTPCurl;
class Report;
class VirtualFile;

/**
 * Walks through what is below a folder of a server: the files of a folder, then its sub-folders, by name.
 *
 * The names come from the server. One that is no plain name ("..", with a slash in it) is refused and reported, so that
 * relative paths never lead out of the folder. A symbolic link to a folder is visited and not entered: it may lead
 * back, or to what is not the site's.
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

    /// Visits each entry below a folder, the site's if it is empty; goes on past a sub-folder that cannot be listed,
    /// and reports it. False when that is the folder itself.
    bool walk(const QString& folder, const Visitor& visit);

    /// The path of the site's folder; an empty path would be the login directory.
    static QString siteFolder(const FTPCurl& client);
    /// The name of a directory's entry, without the slash of a folder; empty when it is no plain name.
    static QString plainName(const QString& directory, const VirtualFile& file);

private:
    bool walkFolder(const Entry& folder, int depth);
    bool list(const Entry& folder, QList<Entry>& files, QList<Entry>& folders);

    FTPCurl& mClient;
    Report& mReport;
    Visitor mVisit;
    int mFolders = 0;
};
