#pragma once

#include <QByteArray>
#include <QHash>
#include <QIODevice>

#include <array>
#include <optional>

/// Where the record of a site is on its server.
enum class RecordPlace {
    Absent,
    InPlace, ///< under its name, whatever is under the second one
    Aside, ///< under its second name only
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
    /// Written first, then renamed to FILE_NAME.
    static const char* const NEW_FILE_NAME;

    /// Whether a file of the site's folder is the record itself.
    static bool isOwnFile(const QByteArray& path) { return path == FILE_NAME || path == NEW_FILE_NAME; }

    static QByteArray firstLine();
    /// Goes in front of appended lines. It ends a line that was cut off, and its tab keeps the rest of a path from
    /// being a path.
    static QByteArray separator();
    static QByteArray line(const QByteArray& path, const Entry& entry);

    /// False when it does not begin like a record of this version. Counts the lines that are no entries.
    bool read(QIODevice& device, int& ignoredLines);
    /// Whether so many lines have been replaced by later ones that the record should be written anew.
    bool isWordy() const { return mLines > 2 * (mEntries.size() + 1); }
    /// Removes an entry and returns it.
    std::optional<Entry> take(const QByteArray& path);

    Entries& entries() { return mEntries; }
    const Entries& entries() const { return mEntries; }

private:
    bool readLine(const QByteArray& line);

    Entries mEntries;
    int mLines = 0; ///< that were read as entries
};
