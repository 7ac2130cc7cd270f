#include "KnownHostsFile.h"

#include <foundation/FileUtils.h>

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

constexpr mode_t OWNER_ONLY = 0600;

/// A file that other processes using this class do not change meanwhile.
class LockedFile
{
public:
    explicit LockedFile(const QString& path)
        : mDescriptor(
            open(QFile::encodeName(path).constData(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, OWNER_ONLY)) // NOLINT
        , mIsLocked(mDescriptor >= 0 && flock(mDescriptor, LOCK_EX) == 0)
    {
    }
    ~LockedFile()
    {
        if (mDescriptor >= 0) {
            close(mDescriptor);
        }
    }
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    /// All or nothing.
    void append(const QByteArray& bytes)
    {
        const off_t size = mIsLocked ? lseek(mDescriptor, 0, SEEK_END) : -1;
        if (size < 0) {
            return;
        }
        const bool isWritten = write(mDescriptor, bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size();
        if (!isWritten || fsync(mDescriptor) != 0) {
            // A part of a line would become a part of the next one.
            [[maybe_unused]] const int result = ftruncate(mDescriptor, size);
        }
    }

private:
    int mDescriptor;
    bool mIsLocked;
};

} // namespace

KnownHosts KnownHostsFile::read(const QString& path, const QByteArray& host, int port)
{
    return { FileUtils::readFileContent(path), host, port };
}

KnownHosts::Verdict KnownHostsFile::append(const QString& path, const QByteArray& host, int port, const QByteArray& key)
{
    LockedFile file(path);
    const QByteArray content = FileUtils::readFileContent(path);
    const KnownHosts hosts(content, host, port);
    if (hosts.verdictOn(key) == KnownHosts::Verdict::Unknown) {
        const bool isLineOpen = !content.isEmpty() && !content.endsWith('\n');
        file.append((isLineOpen ? "\n" : "") + hosts.entry(key));
    }
    return read(path, host, port).verdictOn(key);
}
