#include "KnownHostsFile.h"

#include <foundation/FileUtils.h>
#include <foundation/SystemFiles.h>

#include <QFile>

namespace {

/// All or nothing.
void append(QFile& file, const QByteArray& bytes)
{
    const qint64 size = file.size();
    const bool isWritten = file.write(bytes) == bytes.size();
    if (!isWritten || !SystemFiles::syncToDisk(file)) {
        // A part of a line would become a part of the next one.
        file.resize(size);
    }
}

} // namespace

KnownHosts KnownHostsFile::read(const QString& path, const QByteArray& host, int port)
{
    return { FileUtils::readFileContent(path), host, port };
}

KnownHosts::Verdict KnownHostsFile::append(const QString& path, const QByteArray& host, int port, const QByteArray& key)
{
    QFile file(path);
    const bool isLocked = SystemFiles::openLocked(file);
    const QByteArray content = FileUtils::readFileContent(path);
    const KnownHosts hosts(content, host, port);
    if (isLocked && hosts.verdictOn(key) == KnownHosts::Verdict::Unknown) {
        const bool isLineOpen = !content.isEmpty() && !content.endsWith('\n');
        ::append(file, (isLineOpen ? "\n" : "") + hosts.entry(key));
    }
    return read(path, host, port).verdictOn(key);
}
