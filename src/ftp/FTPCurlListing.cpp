#include <tavrel/FTPCurl.h>

#include "CommandTexts.h"
#include "DirectoryLevel.h"
#include "ListingReader.h"

#include <QBuffer>
#include <QDateTime>

#include <vector>

namespace {

/// The times are in UTC: a conversion would cost more than all else that a line needs.
VirtualFile toVirtualFile(const ListingEntry& entry, const QDateTime& readAt)
{
    const QString unknown = QStringLiteral("unknown");
    const QDateTime modified = QDateTime::fromSecsSinceEpoch(entry.modified, Qt::UTC);
    return VirtualFile(entry.path, 0, unknown, unknown, entry.size, modified, readAt, entry.isDir, entry.isFile,
        entry.isLink, false, false, false);
}

} // namespace

bool FTPCurl::list(const QString& path, VirtualFileList& files)
{
    if (!isValid() || !checkPath(path, "list", __LINE__)) {
        return false;
    }
    const CommandTexts texts = commandTexts("bool FTPCurl::list(const QString &, VirtualFileList &)");
    const QString directory = canonicalizedFilePath(path + QLatin1Char('/'));
    QByteArray listing;
    QBuffer buffer(&listing);
    curl_easy_setopt(mHandle, CURLOPT_CUSTOMREQUEST, texts.list().toUtf8().constData());
    const int code = request(VFSCurlData::Listing, &buffer, directory);
    curl_easy_setopt(mHandle, CURLOPT_CUSTOMREQUEST, nullptr);
    buffer.close();
    if (code != CURLE_OK) {
        return handleResult(code, QStringLiteral("Can't list %1").arg(directory));
    }

    const QDateTime now = QDateTime::currentDateTimeUtc();
    ListingReader reader(listing, directory);
    ListingEntry entry;
    while (reader.next(entry)) {
        if (entry.isLink && !resolveLink(entry)) {
            return false;
        }
        files.append(toVirtualFile(entry, now));
        if (isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
    }
    clearError();
    return true;
}

bool FTPCurl::resolveLink(ListingEntry& entry)
{
    bool exists = false;
    if (!resourceExists(entry.path, exists)) {
        return false;
    }
    entry.isDir = entry.path.endsWith(QLatin1Char('/')) == exists;
    entry.isFile = !entry.isDir;
    return true;
}

bool FTPCurl::listRemote(const QString& path, VirtualFileList& files)
{
    return isValid() && list(path, files);
}

bool FTPCurl::listRecursively(const QString& path, VirtualFileList& files)
{
    std::vector<DirectoryLevel> levels(1);
    if (!list(path, levels.back().entries)) {
        return false;
    }
    while (!levels.empty()) {
        if (levels.back().isFinished()) {
            levels.pop_back();
            continue;
        }
        if (isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        const VirtualFile entry = levels.back().takeNext();
        if (!entry.isDir()) {
            files.append(entry);
            continue;
        }
        levels.emplace_back();
        if (!list(entry.name(), levels.back().entries)) {
            return false;
        }
    }
    return true;
}
