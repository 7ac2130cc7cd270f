#pragma once

#include <tavrel/RemoteEntry.h>

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

class FTPCurl;

/// The content of folders of a site as its server lists it, each one listed once. Paths are relative to the site; that
/// of a folder is "" or ends in a slash.
class ServerFolders
{
public:
    using Entries = QHash<QString, RemoteEntry>; ///< by name

    explicit ServerFolders(FTPCurl& client);

    /// Whether the last request of a client failed because there is nothing at its path. A refusal for the moment, or
    /// of what is there, is another failure.
    static bool isMissing(const FTPCurl& client);
    /// The path for requests of a folder.
    static QString requestPath(const FTPCurl& client, const QString& folder);

    /// Null, with the client's error, when the server does not tell. A folder that does not exist has no entries.
    const Entries* list(const QString& folder);
    /// Finds the entry at the path of a file; none, too, when a folder above it is missing or is a link. One in a
    /// folder that the server does not list is another thing than a file. False, with the client's error, when the
    /// server does not tell.
    bool find(const QString& path, std::optional<RemoteEntry>& found);

    /// The size of a file as the server tells it; -1 when there is none. False with the client's error.
    static bool sizeOf(FTPCurl& client, const QString& path, qint64& size);

private:
    bool findFolder(const QString& folder, bool& isThere);
    bool findUnlisted(const QString& path, std::optional<RemoteEntry>& found);

    FTPCurl& mClient;
    QHash<QString, Entries> mListed;
    QSet<QString> mUnlisted; ///< of these, those that it has refused to list
};
