#pragma once

#include <foundation/foundation_export.h>

#include <QByteArray>
#include <QString>

/// Whole files in one call. Every function may be called from any thread. On Windows, private files and folders have
/// the access rights of the folder that they are in.
class FOUNDATION_EXPORT FileUtils
{
public:
    /// The content of a file; empty if it cannot be read, or with Qt 5 if it has 2 GiB or more. With text, line ends
    /// become "\n".
    static QByteArray readFileContent(const QString& path, bool text = false);

    /// Writes a file atomically, synced to the disk. If that fails, the file is as it was before, false is returned,
    /// and the reason is stored in error unless it is null.
    static bool writeFileContent(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// writeFileContent() for a file that only its owner may read, whatever the permissions of an existing one. On file
    /// systems without unnamed files, another user who opens the new file before it becomes private, while it is still
    /// empty, can read it later; a private folder prevents that.
    static bool writePrivateFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// Creates a file that only its owner may read, atomically and synced to the disk. False if it exists, even if
    /// another process has just created it.
    static bool createPrivateFile(const QString& path, const QByteArray& bytes);

    /// Creates a folder that only its owner may enter, in a folder that exists. False if that fails, or if it exists.
    static bool createPrivateFolder(const QString& path);

    /// A size in binary units, for people: "999 bytes", "1.50 KiB".
    static QString fileSizeToString(qint64 bytes);
};
