#include "FileUtils.h"

#include <QFile>
#include <QLocale>
#include <QSaveFile>
#include <QTemporaryFile>

namespace {

/// Writes beside path and then takes its place. Without permissions, those of the system or of the old file hold.
bool writeWhole(const QString& path, const QByteArray& bytes, QFile::Permissions permissions, QString* error)
{
    QSaveFile file(path);
    // A commit does not notice that what is still buffered finds no room: flush() does.
    const bool written = file.open(QIODevice::WriteOnly) && (!permissions || file.setPermissions(permissions))
        && file.write(bytes) == bytes.size() && file.flush() && file.commit();
    if (!written && error) {
        *error = file.errorString();
    }
    return written;
}

} // namespace

QByteArray FileUtils::readFileContent(const QString& path, bool text)
{
    QFile file(path);
    const QIODevice::OpenMode mode = text ? QIODevice::ReadOnly | QIODevice::Text : QIODevice::ReadOnly;
    if (!file.open(mode)) {
        return QByteArray();
    }
    return file.readAll();
}

bool FileUtils::writeFileContent(const QString& path, const QByteArray& bytes, QString* error)
{
    return writeWhole(path, bytes, QFile::Permissions(), error);
}

bool FileUtils::writePrivateFile(const QString& path, const QByteArray& bytes, QString* error)
{
    return writeWhole(path, bytes, QFile::ReadOwner | QFile::WriteOwner, error);
}

bool FileUtils::createPrivateFile(const QString& path, const QByteArray& bytes)
{
    // A temporary file is its owner's alone from the start, and its renaming replaces nothing.
    QTemporaryFile file(path + QStringLiteral(".XXXXXX"));
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush() || !file.rename(path)) {
        return false;
    }
    file.setAutoRemove(false);
    return true;
}

QString FileUtils::fileSizeToString(qint64 bytes)
{
    // Texts of errors read the same on every machine.
    return QLocale::c().formattedDataSize(bytes);
}
