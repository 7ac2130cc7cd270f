#pragma once

#include <tavrel/RemoteEntry.h>

#include <QByteArray>
#include <QVector>

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
    /// False when most lines so far are in no known style: then the others may only look as if they were.
    bool isUnderstood() const { return mUnknownLines == 0 || mKnownLines > mUnknownLines; }

    /// Makes entries of one name neither file nor directory. A name with a line break can forge a line about another
    /// name, for instance so that a link looks like a directory.
    static void markAmbiguous(QVector<RemoteEntry>& entries);

private:
    QByteArray takeLine();
    bool accept(RemoteEntry& entry) const;

    const QByteArray& mListing;
    Format mFormat;
    QString mDirectory;
    QByteArray::size_type mPosition = 0;
    qint64 mKnownLines = 0;
    qint64 mUnknownLines = 0;
};
