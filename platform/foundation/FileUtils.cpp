#include "FileUtils.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QTemporaryFile>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

#ifdef Q_OS_WIN
bool syncToDisk(const QFileDevice& file)
{
    return _commit(file.handle()) == 0;
}

void syncFolderOf(const QString& /*path*/) { }
#else
bool syncToDisk(const QFileDevice& file)
{
    return fsync(file.handle()) == 0;
}

/// Makes the directory entry of a new file durable. Best effort: not every file system supports it.
void syncFolderOf(const QString& path)
{
    const int folder = open(QFile::encodeName(QFileInfo(path).path()).constData(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}
#endif

/// Writes a temporary file and renames it to path. Without permissions, the file gets those of an existing one, or the
/// system's default.
bool writeWhole(const QString& path, const QByteArray& bytes, QFile::Permissions permissions, QString* error)
{
    QSaveFile file(path);
    // flush() reports a full disk, which commit() does not notice. commit() syncs the file before it renames it.
    const bool written = file.open(QIODevice::WriteOnly) && (!permissions || file.setPermissions(permissions))
        && file.write(bytes) == bytes.size() && file.flush() && file.commit();
    if (written) {
        syncFolderOf(path);
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
    const bool isWritten
        = file.open() && file.write(bytes) == bytes.size() && file.flush() && syncToDisk(file) && file.rename(path);
    if (!isWritten) {
        return false;
    }
    file.setAutoRemove(false);
    syncFolderOf(path);
    return true;
}

QString FileUtils::fileSizeToString(qint64 bytes)
{
    // The C locale, so that error messages do not depend on the machine.
    return QLocale::c().formattedDataSize(bytes);
}
