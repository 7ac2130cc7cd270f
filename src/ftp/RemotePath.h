#pragma once

#include <QString>

/**
 * A path on the server in its canonical form, in which URLs, listings, messages and the cache of an FTPCurl name it:
 * "/./" in front, as paths start at the login directory, and one more slash over SFTP. A value; made once for each
 * operation from the path that the caller gave.
 */
class RemotePath
{
public:
    static constexpr QChar SLASH = QLatin1Char('/');
    static constexpr QChar TILDE = QLatin1Char('~');

    /// Where the relative paths of a session start.
    struct Base
    {
        QString folder; ///< of the settings; empty or ending in a slash
        bool hasLeadingSlash = false; ///< as over SFTP
    };

    /// A path that starts with "/" is taken as it is, any other one below the folder. The canonical form ends in a
    /// slash only if path does; an empty path becomes an empty form, or the leading slash.
    RemotePath(const QString& path, const Base& base);

    const QString& canonical() const { return mCanonical; }
    /// Without the marker in front: "www/index.html".
    QString relative() const { return withoutMarker(mCanonical); }
    static QString withoutMarker(QString canonical);

    /// The path for an SFTP server: with one slash in front, as some servers keep two and leave the root of their
    /// user, and without the marker, except before a tilde.
    static QString withOneSlash(QString path);

    bool isDirectory() const;
    RemotePath withoutTrailingSlash() const;
    /// The directory of the entry, without a slash at its end.
    RemotePath parent() const;
    static QString withoutTrailingSlash(QString path);

    /// False for a path with control characters: some would end the command that carries it, and libcurl refuses the
    /// others in URLs.
    bool isSendable() const;

private:
    explicit RemotePath(QString canonical);

    QString mCanonical;
};
