#pragma once

#include <QByteArray>
#include <QString>

/// One entry of a directory listing, as its line has it.
struct ListingEntry
{
    QString path; ///< of the directory and the entry; the path of a directory ends in a slash
    qint64 size = 0; ///< in bytes; 0 when the line has none
    qint64 modified = 0; ///< seconds since 1970; 0 when the line has none
    bool isDir = false;
    bool isFile = false;
    bool isLink = false;
};

/// Takes a listing apart, line by line. Lines that are no entries are skipped, and so is the directory itself and the
/// one above, by whatever name.
class ListingReader
{
public:
    enum class Reading {
        Lenient, ///< a line counts if the parser makes anything of it
        Strict, ///< a line counts only if its name is certain
    };

    /// directory is put before the names. The listing must outlive the reader. Names are read as UTF-8, or lose the
    /// characters that Latin-1 does not have.
    ListingReader(
        const QByteArray& listing, const QString& directory, bool isUtf8 = false, Reading reading = Reading::Lenient);

    /// True for ".", ".." and other names that lead back to the directory or upwards.
    static bool standsForDirectoryItself(const QString& name);

    bool hasNextLine() const { return mPosition < mListing.size(); }
    /// Reads the next line; false when it is not an entry.
    bool readLine(ListingEntry& entry);

private:
    QByteArray takeLine();

    const QByteArray& mListing;
    QString mPrefix;
    bool mIsUtf8;
    Reading mReading;
    QByteArray::size_type mPosition = 0;
};
