#include "FileUtils.h"

#include "SystemFiles.h"

#include <QFile>
#include <QLocale>
#include <QSaveFile>
#include <QTemporaryFile>

namespace {

/// Writes a temporary file and renames it to path. Without permissions, the file keeps the permissions of an
/// existing one, or gets the system's default.
bool writeWhole(const QString& path, const QByteArray& bytes, QFile::Permissions permissions, QString* error)
{
    QSaveFile file(path);
    // flush() reports a full disk, which commit() does not notice. commit() syncs the file before it renames it.
    const bool written = file.open(QIODevice::WriteOnly) && (!permissions || file.setPermissions(permissions))
        && file.write(bytes) == bytes.size() && file.flush() && file.commit();
    if (written) {
        SystemFiles::syncFolderOf(path);
    } else if (error) {
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
    // A QTemporaryFile is readable by its owner only from the start, and its rename() replaces nothing.
    QTemporaryFile file(path + QStringLiteral(".XXXXXX"));
    const bool isWritten = file.open() && file.write(bytes) == bytes.size() && file.flush()
        && SystemFiles::syncToDisk(file) && file.rename(path);
    if (!isWritten) {
        return false;
    }
    file.setAutoRemove(false);
    SystemFiles::syncFolderOf(path);
    return true;
}

bool FileUtils::createPrivateFolder(const QString& path)
{
    return SystemFiles::createPrivateFolder(path);
}

QString FileUtils::fileSizeToString(qint64 bytes)
{
    // The C locale, so that error messages do not depend on the machine.
    return QLocale::c().formattedDataSize(bytes);
}
