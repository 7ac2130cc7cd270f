#pragma once

#include <foundation/foundation_export.h>

#include <QByteArray>
#include <QString>

/// Whole files in one call. Every function may be called from any thread.
class FOUNDATION_EXPORT FileUtils
{
public:
    /// The content of a file; empty if it cannot be read. With text, line ends become "\n".
    static QByteArray readFileContent(const QString& path, bool text = false);

    /// Writes a file atomically, synced to the disk. If that fails, the file is as it was before, false is returned,
    /// and the reason is stored in error unless it is null.
    static bool writeFileContent(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// writeFileContent() for a file that only its owner may read, whatever the permissions of an existing one.
    static bool writePrivateFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// Creates a file that only its owner may read, atomically and synced to the disk. False if it exists, even if
    /// another process has just created it.
    static bool createPrivateFile(const QString& path, const QByteArray& bytes);

    /// A size in binary units, for people: "999 bytes", "1.50 KiB".
    static QString fileSizeToString(qint64 bytes);
};
