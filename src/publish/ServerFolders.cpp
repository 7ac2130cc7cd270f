#include "ServerFolders.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPFailure.h>

#include <QRegularExpression>

namespace {

const QChar SLASH = QLatin1Char('/');

/// Whether a server that runs a program for its listings, or expands patterns, takes the path as it is.
bool isPlain(const QString& path)
{
    static const QRegularExpression odd(QStringLiteral("^-|[^\\w./-]"), QRegularExpression::UseUnicodePropertiesOption);
    return !odd.match(path).hasMatch();
}

/// After a listing that looks empty, too: libcurl takes the reply 450 for an empty directory.
bool isRefusedForNow(const FTPCurl& client)
{
    return client.serverReply().startsWith(QLatin1String("450"));
}

} // namespace

ServerFolders::ServerFolders(FTPCurl& client)
    : mClient(client)
{
}

bool ServerFolders::isMissing(const FTPCurl& client)
{
    const QString reply = client.serverReply(); // empty over SFTP
    const auto isResult = [&client](CURLcode code) { return client.error() == ErrorableCode::of(code); };
    // A directory that cannot be entered, and a file or a directory that is refused for whatever reason.
    return isResult(CURLE_REMOTE_FILE_NOT_FOUND)
        || (isResult(CURLE_REMOTE_ACCESS_DENIED) && reply.startsWith(QLatin1Char('5')))
        || (isResult(CURLE_FTP_COULDNT_RETR_FILE) && reply.startsWith(QLatin1String("550")));
}

QString ServerFolders::requestPath(const FTPCurl& client, const QString& folder)
{
    const FTPSettings& settings = client.ftpSettings();
    const QString path = folder.isEmpty() ? SLASH + settings.ftpFolder() + settings.publicSubFolder() : folder;
    return path.endsWith(SLASH) && path.size() > 1 ? path.chopped(1) : path;
}

void ServerFolders::setEntersDirectories(const FTPCurl& client, bool enters)
{
    const auto method = enters ? CURLFTPMETHOD_SINGLECWD : CURLFTPMETHOD_NOCWD;
    curl_easy_setopt(client.curlhandle(), CURLOPT_FTP_FILEMETHOD, static_cast<long>(method));
}

const ServerFolders::Folder* ServerFolders::list(const QString& folder)
{
    auto known = mKnown.find(folder);
    if (known == mKnown.end()) {
        Folder listed;
        if (!request(requestPath(mClient, folder), listed)) {
            return nullptr;
        }
        known = mKnown.insert(folder, listed);
    }
    return &*known;
}

bool ServerFolders::request(const QString& path, Folder& folder)
{
    QVector<RemoteEntry> listed;
    const bool isTold = (isPlain(path) && mClient.listDetailed(path, listed) && !isRefusedForNow(mClient))
        || enterAndRequest(path, listed);
    folder.isMissing = !isTold && isMissing(mClient);
    folder.isListed = !isRefusedForNow(mClient);
    for (const RemoteEntry& entry : listed) {
        RemoteEntry& known = folder.entries[entry.name];
        const bool isTwice = !known.name.isEmpty();
        known = entry;
        if (isTwice) {
            known.kind = RemoteEntry::Other;
            known.size = -1;
        }
    }
    return isTold || folder.isMissing;
}

/// A server may take the options and the path of the listing command for one path, or split the path at a blank. Then
/// it tells of another directory, or that there is none.
bool ServerFolders::enterAndRequest(const QString& path, QVector<RemoteEntry>& listed)
{
    const FTPFailure::Kind kind = FTPFailure::kindOf(mClient);
    // libcurl takes a refusal at the end of a listing for a broken connection.
    const bool isRefused = kind == FTPFailure::OfPath || isRefusedForNow(mClient);
    if (kind == FTPFailure::Interrupted || (kind != FTPFailure::None && !isRefused)) {
        return false;
    }
    listed.clear();
    setEntersDirectories(mClient, true);
    const bool isListed = mClient.listDetailed(path, listed);
    setEntersDirectories(mClient, false);
    return isListed;
}

bool ServerFolders::find(const QString& path, std::optional<RemoteEntry>& found)
{
    found.reset();
    const QString folder = path.left(path.lastIndexOf(SLASH) + 1);
    bool isThere = false;
    if (!findFolder(folder, isThere)) {
        return false;
    }
    const Folder* const listed = isThere ? list(folder) : nullptr;
    if (!listed) {
        return !isThere;
    }
    const auto entry = listed->entries.find(path.mid(folder.size()));
    if (entry != listed->entries.end()) {
        found = *entry;
    } else if (listed->isMissing && !folder.isEmpty()) {
        found.emplace();
        found->kind = RemoteEntry::Other; // The listing of its parent shows it, so it may not be entered.
    }
    return listed->isListed || listed->isMissing || findUnlisted(path, found);
}

/// libcurl takes the reply 450 for an empty directory; servers give it for one that is missing, too, or busy.
bool ServerFolders::findUnlisted(const QString& path, std::optional<RemoteEntry>& found)
{
    qint64 size = -1;
    const bool isKnown = sizeOf(mClient, path, size);
    if (size >= 0) {
        found.emplace();
        found->kind = RemoteEntry::Other;
        found->size = size;
    }
    return isKnown;
}

/// Whether each part of the path is a directory, as a listing through a link would show another place.
bool ServerFolders::findFolder(const QString& folder, bool& isThere)
{
    isThere = true;
    for (auto end = folder.indexOf(SLASH); end >= 0 && isThere; end = folder.indexOf(SLASH, end + 1)) {
        const auto begin = folder.lastIndexOf(SLASH, end - 1) + 1;
        const Folder* const parent = list(folder.left(begin));
        if (!parent) {
            return false;
        }
        isThere = parent->entries.value(folder.mid(begin, end - begin)).kind == RemoteEntry::Directory;
    }
    return true;
}

bool ServerFolders::sizeOf(FTPCurl& client, const QString& path, qint64& size)
{
    if (client.fileSize(path, size)) {
        return true;
    }
    size = -1;
    return isMissing(client);
}
