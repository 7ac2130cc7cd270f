#include "SystemFiles.h"

#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace {

constexpr mode_t PRIVATE_FILE = 0600;
constexpr mode_t PUBLIC_FILE = 0666;
constexpr mode_t PRIVATE_FOLDER = 0700;
constexpr std::chrono::milliseconds LOCK_INTERVAL(20);
constexpr uid_t ADMINISTRATOR = 0;

bool takeDescriptor(QFile& file, int descriptor, QIODevice::OpenMode mode)
{
    const bool isOpen = file.open(descriptor, mode | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    if (!isOpen) {
        close(descriptor);
    }
    return isOpen;
}

bool isOwner(const struct stat& status)
{
    return status.st_uid == geteuid() || status.st_uid == ADMINISTRATOR;
}

bool isOwnFile(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && isOwner(status);
}

bool waitForLock(int descriptor)
{
    const auto end = std::chrono::steady_clock::now() + SystemFiles::MAX_LOCK_TIME;
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(LOCK_INTERVAL);
    }
    return true;
}

} // namespace

bool SystemFiles::openToRead(QFile& file, const QByteArray& path, QString& fault)
{
    const int descriptor = open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // NOLINT(*-vararg)
    if (descriptor < 0) {
        fault = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    return takeDescriptor(file, descriptor, QIODevice::ReadOnly);
}

bool SystemFiles::openLocked(QFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    const int descriptor = open(path.constData(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, PRIVATE_FILE); // NOLINT
    if (descriptor < 0) {
        return false;
    }
    if (!waitForLock(descriptor)) {
        close(descriptor);
        return false;
    }
    return takeDescriptor(file, descriptor, QIODevice::ReadWrite | QIODevice::Append);
}

bool SystemFiles::isForeign(const QString& path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && (S_ISLNK(status.st_mode) || !isOwner(status));
}

bool SystemFiles::openOwn(QFile& file, QIODevice::OpenMode mode, bool isPrivate)
{
    // Not O_TRUNC, which would empty the file before its owner is known.
    const int access = mode.testFlag(QIODevice::WriteOnly) ? O_WRONLY | O_CREAT : O_RDONLY;
    const int descriptor = open(QFile::encodeName(file.fileName()).constData(), // NOLINT(*-vararg)
        access | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, isPrivate ? PRIVATE_FILE : PUBLIC_FILE);
    if (descriptor < 0) {
        return false;
    }
    if (!isOwnFile(descriptor) || (mode.testFlag(QIODevice::Truncate) && ftruncate(descriptor, 0) != 0)) {
        close(descriptor);
        return false;
    }
    return takeDescriptor(file, descriptor, mode);
}

std::optional<SystemFiles::Stamp> SystemFiles::stampOf(const QFile& file)
{
    struct stat status = {};
    if (fstat(file.handle(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
#ifdef __APPLE__
    const timespec& modified = status.st_mtimespec;
#else
    const timespec& modified = status.st_mtim;
#endif
    return Stamp { status.st_size, modified.tv_sec, modified.tv_nsec };
}

bool SystemFiles::syncToDisk(const QFile& file)
{
    return fsync(file.handle()) == 0;
}

void SystemFiles::syncFolderOf(const QString& path)
{
    const QByteArray name = QFile::encodeName(QFileInfo(path).path());
    const int folder = open(name.constData(), O_RDONLY | O_CLOEXEC); // NOLINT(*-vararg)
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}

bool SystemFiles::createPrivateFolder(const QString& path)
{
    return mkdir(QFile::encodeName(path).constData(), PRIVATE_FOLDER) == 0;
}
