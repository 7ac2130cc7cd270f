#pragma once

#include <tavrel/RemoteEntry.h>

#include <QByteArray>

/// Takes a listing apart, line by line, into entries with all that their lines tell. The directory itself and the one
/// above are skipped, and so are names with a slash: no path leads out of the directory.
class DetailedListing
{
public:
    enum class Format {
        Lines, ///< of LIST, in the styles of the parser, and of SFTP
        Facts, ///< of MLSD
    };

    /// directory ends in a slash and is put before the names. The listing must outlive this object.
    DetailedListing(const QByteArray& listing, Format format, const QString& directory);

    bool hasNextLine() const { return mPosition < mListing.size(); }
    /// Reads the next line; false when it is not an entry.
    bool readLine(RemoteEntry& entry);
    /// False when there have been lines and none of them is in a known style.
    bool isUnderstood() const { return mHasKnownLine || !mHasUnknownLine; }

private:
    QByteArray takeLine();
    bool accept(RemoteEntry& entry) const;

    const QByteArray& mListing;
    Format mFormat;
    QString mDirectory;
    QByteArray::size_type mPosition = 0;
    bool mHasKnownLine = false;
    bool mHasUnknownLine = false;
};
