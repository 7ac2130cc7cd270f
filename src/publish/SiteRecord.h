#pragma once

#include <QByteArray>
#include <QHash>
#include <QIODevice>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

/// Where the record of a site is on its server.
struct RecordPlace
{
    bool isInPlace = false; ///< under its name, whatever is under second names
    /// Second names that may be there. Without a record in place, they are the record.
    QStringList secondNames;

    bool isAside() const { return !isInPlace && !secondNames.isEmpty(); }
};

constexpr int DIGEST_BYTES = 32;
/// A SHA-256.
using Digest = std::array<char, DIGEST_BYTES>;

/**
 * The record of what was sent to a site, as a text file: a first line with name and version, then a line per file,
 *
 *     SIZE SHA-256 PATH
 *
 * with a "-" in place of the SHA-256 while the file may not be whole. A later line for a path replaces an earlier one,
 * so that such marks can be appended. Any prefix of a record that is being written is a record that knows less.
 *
 * The record comes from a server: a path that would lead out of the site is no entry.
 */
class SiteRecord
{
public:
    struct Entry
    {
        qint64 size = 0;
        Digest digest {};
        bool isWhole = false;
    };
    using Entries = QHash<QByteArray, Entry>;

    static const char* const FILE_NAME;

    /// A name to write a record under before it is renamed to FILE_NAME. Nobody can put a symbolic link in its place
    /// before the file is created, as nobody knows the name.
    static QString newSecondName();
    /// Whether a file of the site's folder is a record under a second name; earlier versions had a fixed one.
    static bool isSecondName(const QString& name);
    /// Whether a file of the site's folder is the record itself. Some servers ignore letter case.
    static bool isOwnFile(const QByteArray& path);

    static QByteArray firstLine();
    /// Goes in front of appended lines. It ends a line that was cut off, and its tab keeps the rest of a path from
    /// being a path.
    static QByteArray separator();
    static QByteArray line(const QByteArray& path, const Entry& entry);

    /// False when it does not begin like a record of this version. Counts the lines that are no entries.
    bool read(QIODevice& device, int& ignoredLines);
    /// Whether so many lines have been replaced by later ones that the record should be written anew.
    bool isWordy() const { return mLines > 2 * (mEntries.size() + 1); }
    /// Takes no file for whole any more.
    void distrust();
    /// Removes an entry and returns it.
    std::optional<Entry> take(const QByteArray& path);

    Entries& entries() { return mEntries; }
    const Entries& entries() const { return mEntries; }

private:
    bool readLine(const QByteArray& line);

    Entries mEntries;
    int mLines = 0; ///< that were read as entries
};
