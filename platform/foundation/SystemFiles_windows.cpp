#include "SystemFiles.h"

#include <QDir>
#include <QFileInfo>

#include <io.h>
#include <windows.h>

#include <thread>

namespace {

constexpr qint64 TICKS_PER_SECOND = 10000000;
constexpr qint64 NANOSECONDS_PER_TICK = 100;
constexpr qint64 TICKS_FROM_1601_TO_1970 = 11644473600 * TICKS_PER_SECOND;
constexpr std::chrono::milliseconds LOCK_INTERVAL(20);
constexpr DWORD BEHIND_EVERY_CONTENT = 0x40000000;

HANDLE handleOf(const QFile& file)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
}

qint64 joined(DWORD high, DWORD low)
{
    return static_cast<qint64>(high) << 32 | low;
}

} // namespace

bool SystemFiles::openToRead(QFile& file, const QByteArray& path, QString& fault)
{
    file.setFileName(QString::fromUtf8(path));
    const bool isOpen = file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    fault = isOpen ? QString() : file.errorString();
    return isOpen;
}

bool SystemFiles::openLocked(QFile& file)
{
    if (!file.open(QIODevice::ReadWrite | QIODevice::Append | QIODevice::Unbuffered)) {
        return false;
    }
    // One byte that is not there: others may read what is.
    OVERLAPPED range {};
    range.OffsetHigh = BEHIND_EVERY_CONTENT;
    const auto lock = [&] {
        return LockFileEx(handleOf(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &range) != 0;
    };
    const auto end = std::chrono::steady_clock::now() + MAX_LOCK_TIME;
    bool isLocked = lock();
    while (!isLocked && GetLastError() == ERROR_LOCK_VIOLATION && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(LOCK_INTERVAL);
        isLocked = lock();
    }
    if (!isLocked) {
        file.close();
    }
    return isLocked;
}

bool SystemFiles::isForeign(const QString& path)
{
    return QFileInfo(path).isSymLink();
}

bool SystemFiles::openOwn(QFile& file, QIODevice::OpenMode mode, bool /*isPrivate*/)
{
    return !isForeign(file.fileName()) && file.QFile::open(mode | QIODevice::Unbuffered);
}

std::optional<SystemFiles::Stamp> SystemFiles::stampOf(const QFile& file)
{
    BY_HANDLE_FILE_INFORMATION status {};
    const HANDLE handle = handleOf(file);
    if (GetFileType(handle) != FILE_TYPE_DISK || GetFileInformationByHandle(handle, &status) == 0
        || (status.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::nullopt;
    }
    const FILETIME& modified = status.ftLastWriteTime;
    const qint64 ticks = joined(modified.dwHighDateTime, modified.dwLowDateTime) - TICKS_FROM_1601_TO_1970;
    return Stamp { joined(status.nFileSizeHigh, status.nFileSizeLow), ticks / TICKS_PER_SECOND,
        ticks % TICKS_PER_SECOND * NANOSECONDS_PER_TICK };
}

bool SystemFiles::syncToDisk(const QFile& file)
{
    return _commit(file.handle()) == 0;
}

void SystemFiles::syncFolderOf(const QString& /*path*/) { }

bool SystemFiles::createPrivateFolder(const QString& path)
{
    return QDir().mkdir(path);
}
