#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <chrono>
#include <optional>

/// The operations on files that Qt lacks and in which systems differ. A file that Windows creates has the access
/// rights of its folder; private files are private there if the folder is private, like a user's profile.
namespace SystemFiles {

/// The state of a content. Two states differ if the file was written in between, as exactly as the system keeps times.
struct Stamp
{
    qint64 size = -1;
    qint64 seconds = 0; ///< since 1970, UTC
    qint64 nanoseconds = 0;
};

/// Opens a file that is named by UTF-8, whatever the locale, to be read without a buffer. Does not wait for a writer if
/// it is a pipe. False, with the reason in fault, if that fails.
bool openToRead(QFile& file, const QByteArray& path, QString& fault);

/// How long openLocked() waits.
constexpr std::chrono::milliseconds MAX_LOCK_TIME(3000);

/// Opens a file to append to it, once no other process has it open this way. A new one is private. False if that fails,
/// or takes too long.
bool openLocked(QFile& file);

/// True for a name that another user may have placed: a link, or a file that belongs to neither the user of this
/// process nor the administrator. False if there is none. On Windows, only links are recognised.
bool isForeign(const QString& path);

/// Opens a file by its name to read it, or to write it with Truncate or Append, without a buffer. A new one gets the
/// default permissions, or is private. Afterwards fileName() is empty. False for anything but a file, if
/// isForeign(), and if it cannot be opened; then nothing has changed.
bool openOwn(QFile& file, QIODevice::OpenMode mode, bool isPrivate = false);

/// Of an open file; nothing if it is another thing than a file, such as a folder.
std::optional<Stamp> stampOf(const QFile& file);

/// Waits until the content of an open file is on the disk.
bool syncToDisk(const QFile& file);

/// Makes the directory entry of a new file durable. Best effort: not every file system supports it.
void syncFolderOf(const QString& path);

/// Creates a folder that only its owner may enter. False if that fails, or if it exists.
bool createPrivateFolder(const QString& path);

} // namespace SystemFiles
