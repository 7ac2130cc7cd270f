#include "DirectoryLevel.h"
#include "FTPCurlPrivate.h"
#include "ListingReader.h"

#include <foundation/Utc.h>

#include <QBuffer>
#include <QDateTime>

namespace {

/// The times are in UTC: a conversion would cost more than all else that a line needs.
VirtualFile toVirtualFile(const ListingEntry& entry, const QDateTime& readAt)
{
    const QString unknown = QStringLiteral("unknown");
    const QDateTime modified = QDateTime::fromSecsSinceEpoch(entry.modified, UTC);
    return VirtualFile(entry.path, 0, unknown, unknown, entry.size, modified, readAt, entry.isDir, entry.isFile,
        entry.isLink, false, false, false);
}

} // namespace

bool FTPCurl::list(const QString& path, VirtualFileList& files)
{
    const std::optional<RemotePath> directory = mPrivate->accept(path + QLatin1Char('/'), "list", "", __LINE__);
    return directory && mPrivate->list(*directory, files);
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
            return mPrivate->stopInterrupted(__LINE__);
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

int FTPCurl::Private::requestListing(const QString& command, const RemotePath& directory, QByteArray& listing)
{
    QBuffer buffer(&listing);
    curl_easy_setopt(session.handle(), CURLOPT_CUSTOMREQUEST, command.toUtf8().constData());
    const int code = request(VFSCurlData::Listing, &buffer, directory);
    curl_easy_setopt(session.handle(), CURLOPT_CUSTOMREQUEST, nullptr);
    return code;
}

bool FTPCurl::Private::list(const RemotePath& directory, VirtualFileList& files)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::list(const QString &, VirtualFileList &)");
    QByteArray listing;
    const int code = requestListing(texts.list(), directory, listing);
    if (code != CURLE_OK) {
        return setResult(code, QStringLiteral("Can't list %1").arg(directory.canonical()));
    }
    return readListing(listing, directory, files);
}

bool FTPCurl::Private::readListing(const QByteArray& listing, const RemotePath& directory, VirtualFileList& files)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    ListingReader reader(listing, directory.canonical(), nameEncoding == Utf8);
    ListingEntry entry;
    while (reader.hasNextLine()) {
        const bool isEntry = reader.readLine(entry);
        if (isEntry && entry.isLink && !resolveLink(entry)) {
            return false;
        }
        if (isEntry) {
            files.append(toVirtualFile(entry, now));
        }
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
    }
    client.clearError();
    return true;
}

bool FTPCurl::Private::resolveLink(ListingEntry& entry)
{
    const RemotePath link = path(entry.path);
    bool isThere = false;
    if (!checkSendable(link, "list", __LINE__) || !exists(link, isThere)) {
        return false;
    }
    entry.isDir = link.isDirectory() == isThere;
    entry.isFile = !entry.isDir;
    return true;
}
