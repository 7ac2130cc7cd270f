#include "DirectoryLevel.h"
#include "ErrorSource.h"
#include "FTPCurlPrivate.h"
#include "ListingBounds.h"

#include <foundation/Utc.h>
#include <foundation/raiseError.h>

#include <QDateTime>

#include <new>

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
    qint64 memoryLeft = ListingBounds::MAX_MEMORY;
    return mPrivate->withinMemory([&] { return mPrivate->list(path, files, memoryLeft); });
}

bool FTPCurl::listRemote(const QString& path, VirtualFileList& files)
{
    return isValid() && list(path, files);
}

bool FTPCurl::listRecursively(const QString& path, VirtualFileList& files)
{
    return mPrivate->withinMemory([&] { return mPrivate->listRecursively(path, files); });
}

bool FTPCurl::Private::withinMemory(const std::function<bool()>& operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return setResult(CURLE_OUT_OF_MEMORY, QStringLiteral("Can't keep a listing"));
    }
}

bool FTPCurl::Private::listRecursively(const QString& path, VirtualFileList& files)
{
    qint64 memoryLeft = ListingBounds::MAX_MEMORY;
    std::vector<DirectoryLevel> levels(1);
    if (!list(path, levels.back().entries, memoryLeft)) {
        return false;
    }
    while (!levels.empty()) {
        if (levels.back().isFinished()) {
            levels.pop_back();
            continue;
        }
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
        const VirtualFile entry = levels.back().takeNext();
        if (!entry.isDir()) {
            files.append(entry);
            continue;
        }
        levels.emplace_back();
        if (!list(entry.name(), levels.back().entries, memoryLeft)) {
            return false;
        }
    }
    return true;
}

int FTPCurl::Private::requestListing(const QString& command, const RemotePath& directory, QByteArray& listing)
{
    ListingBounds::Buffer buffer(&listing);
    curl_easy_setopt(session.handle(), CURLOPT_CUSTOMREQUEST, command.toUtf8().constData());
    const int code = request(VFSCurlData::Listing, &buffer, directory);
    curl_easy_setopt(session.handle(), CURLOPT_CUSTOMREQUEST, nullptr);
    return buffer.hasOverflown() ? ListingBounds::TOO_LARGE : code;
}

bool FTPCurl::Private::setListingFailure(int code, const RemotePath& directory)
{
    if (code != ListingBounds::TOO_LARGE) {
        return setResult(code, QStringLiteral("Can't list %1").arg(directory.canonical()));
    }
    raiseError(client, FTPCurl::LISTING_TOO_LARGE, "LISTING_TOO_LARGE", { ERROR_SOURCE, __LINE__ },
        QStringLiteral("The listing of %1 exceeds the bound of this library").arg(directory.canonical()));
    return false;
}

bool FTPCurl::Private::list(const QString& path, VirtualFileList& files, qint64& memoryLeft)
{
    const auto directory = accept(path + QLatin1Char('/'), "list", "", __LINE__);
    return directory && list(*directory, files, memoryLeft, Reading::Lenient);
}

bool FTPCurl::Private::list(const RemotePath& directory, VirtualFileList& files, qint64& memoryLeft, Reading reading)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::list(const QString &, VirtualFileList &)");
    QByteArray listing;
    const int code = requestListing(texts.list(), directory, listing);
    if (code != CURLE_OK) {
        return setListingFailure(code, directory);
    }
    ListingReader reader(listing, directory.canonical(), nameEncoding == Utf8, reading);
    return readListing(reader, directory, files, memoryLeft);
}

bool FTPCurl::Private::readListing(
    ListingReader& reader, const RemotePath& directory, VirtualFileList& files, qint64& memoryLeft)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    ListingEntry entry;
    while (reader.hasNextLine()) {
        const bool isEntry = reader.readLine(entry);
        if (isEntry && entry.isLink && !resolveLink(entry)) {
            return false;
        }
        if (isEntry) {
            memoryLeft -= ListingBounds::memoryOf<VirtualFile>(entry.path.size());
            if (memoryLeft < 0) {
                return setListingFailure(ListingBounds::TOO_LARGE, directory);
            }
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
