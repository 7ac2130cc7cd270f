#include "DetailedListing.h"
#include "ErrorSource.h"
#include "FTPCurlPrivate.h"
#include "ListingBounds.h"

#include <foundation/raiseError.h>

bool FTPCurl::listDetailed(const QString& path, QVector<RemoteEntry>& entries)
{
    const auto directory = mPrivate->accept(path + QLatin1Char('/'), "listDetailed", "", __LINE__);
    return directory && mPrivate->withinMemory([&] { return mPrivate->listDetailed(*directory, entries); });
}

bool FTPCurl::Private::listDetailed(const RemotePath& directory, QVector<RemoteEntry>& entries)
{
    const CommandTexts texts = commandTexts("bool FTPCurl::listDetailed(const QString &, QVector<RemoteEntry> &)");
    QByteArray listing;
    DetailedListing::Format format = DetailedListing::Format::Facts;
    int code = CURLE_FTP_COULDNT_RETR_FILE;
    if (!texts.isSftp() && !isMlsdRefused) {
        code = requestListing(QStringLiteral("MLSD"), directory, listing);
        // 500 to 504: the server does not have the command.
        isMlsdRefused = code == CURLE_FTP_COULDNT_RETR_FILE && session.reason().reply.startsWith(QLatin1String("50"));
    }
    if (code == CURLE_FTP_COULDNT_RETR_FILE) {
        format = DetailedListing::Format::Lines;
        code = requestListing(texts.list(), directory, listing);
    }
    if (code != CURLE_OK) {
        return setListingFailure(code, directory);
    }
    DetailedListing reader(listing, format, directory.canonical());
    QVector<RemoteEntry> found;
    if (!readDetails(reader, directory, found)) {
        return false;
    }
    DetailedListing::markAmbiguous(found);
    entries += found;
    return true;
}

bool FTPCurl::Private::readDetails(DetailedListing& listing, const RemotePath& directory, QVector<RemoteEntry>& entries)
{
    qint64 memoryLeft = ListingBounds::MAX_MEMORY;
    RemoteEntry entry;
    while (listing.hasNextLine()) {
        if (listing.readLine(entry)) {
            memoryLeft -= ListingBounds::memoryOf<RemoteEntry>(entry.name.size() + entry.path.size());
            if (memoryLeft < 0) {
                return setListingFailure(ListingBounds::TOO_LARGE, directory);
            }
            entries.append(entry);
        }
        if (client.isInterruptionRequested()) {
            return stopInterrupted(__LINE__);
        }
    }
    if (!listing.isUnderstood()) {
        raiseError(client, FTPCurl::UNKNOWN_LISTING, "UNKNOWN_LISTING", { ERROR_SOURCE, __LINE__ },
            QStringLiteral("The listing of %1 is in no known style").arg(directory.canonical()));
        return false;
    }
    client.clearError();
    return true;
}
