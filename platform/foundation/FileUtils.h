#pragma once

#include <foundation/foundation_export.h>

#include <QByteArray>
#include <QString>

/// Whole files in one call. Every function may be called from any thread.
class FOUNDATION_EXPORT FileUtils
{
public:
    /// The content of a file; empty when it cannot be read. With text, line ends become "\n".
    static QByteArray readFileContent(const QString& path, bool text = false);

    /// Writes bytes to path. The file is whole or, when false is returned, as it was before; the reason then
    /// stands in error, if one is given.
    static bool writeFileContent(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// The same for a file that only its owner may read, whoever could read the one before.
    static bool writePrivateFile(const QString& path, const QByteArray& bytes, QString* error = nullptr);

    /// Creates a file that only its owner may read. False when it exists already, also when another process creates
    /// it at the same moment; the file is whole from the moment it is there.
    static bool createPrivateFile(const QString& path, const QByteArray& bytes);

    /// A size for people, in the units of 1024 bytes: "999 bytes", "1.50 KiB".
    static QString fileSizeToString(qint64 bytes);
};
