#pragma once

#include <tavrel/RemoteEntry.h>

#include <QHash>
#include <QString>
#include <QVector>

#include <optional>

class FTPCurl;

/// The content of folders of a site as its server lists it, each one listed once. Paths are relative to the site; that
/// of a folder is "" or ends in a slash.
class ServerFolders
{
public:
    using Entries = QHash<QString, RemoteEntry>; ///< by name

    struct Folder
    {
        Entries entries;
        bool isMissing = false; ///< it cannot be entered
        bool isListed = true; ///< false for one that the server may have refused to list
    };

    explicit ServerFolders(FTPCurl& client);

    /// Whether the last request of a client failed because there is nothing at its path. A refusal for the moment, or
    /// of what is there, is another failure.
    static bool isMissing(const FTPCurl& client);
    /// The path for requests of a folder.
    static QString requestPath(const FTPCurl& client, const QString& folder);

    /// Null, with the client's error, when the server does not tell. A name that is listed twice is neither file nor
    /// folder: a name with a line break in it can look like a further line.
    const Folder* list(const QString& folder);
    /// Finds the entry at the path of a file; none, too, when a folder above it is missing or is a link. In a folder
    /// that the server shows and does not list it is neither file nor folder. False, with the client's error, when the
    /// server does not tell.
    bool find(const QString& path, std::optional<RemoteEntry>& found);

    /// Whether requests over FTP enter the directory of their path. Otherwise commands name the whole path.
    static void setEntersDirectories(const FTPCurl& client, bool enters);

    /// The size of a file as the server tells it; -1 when there is none. False with the client's error.
    static bool sizeOf(FTPCurl& client, const QString& path, qint64& size);

private:
    bool request(const QString& path, Folder& folder);
    bool enterAndRequest(const QString& path, QVector<RemoteEntry>& listed);
    bool findFolder(const QString& folder, bool& isThere);
    bool findUnlisted(const QString& path, std::optional<RemoteEntry>& found);

    FTPCurl& mClient;
    QHash<QString, Folder> mKnown;
};
