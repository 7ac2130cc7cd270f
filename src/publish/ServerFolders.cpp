#include "ServerFolders.h"

#include <tavrel/FTPCurl.h>

namespace {

const QChar SLASH = QLatin1Char('/');

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

const ServerFolders::Entries* ServerFolders::list(const QString& folder)
{
    auto known = mListed.find(folder);
    if (known == mListed.end()) {
        QVector<RemoteEntry> listed;
        if (!mClient.listDetailed(requestPath(mClient, folder), listed) && !isMissing(mClient)) {
            return nullptr;
        }
        if (mClient.serverReply().startsWith(QLatin1String("450"))) {
            mUnlisted.insert(folder);
        }
        known = mListed.insert(folder, Entries());
        for (const RemoteEntry& entry : listed) {
            known->insert(entry.name, entry);
        }
    }
    return &*known;
}

bool ServerFolders::find(const QString& path, std::optional<RemoteEntry>& found)
{
    found.reset();
    const QString folder = path.left(path.lastIndexOf(SLASH) + 1);
    bool isThere = false;
    if (!findFolder(folder, isThere)) {
        return false;
    }
    const Entries* const entries = isThere ? list(folder) : nullptr;
    const QString name = path.mid(folder.size());
    if (entries && entries->contains(name)) {
        found = entries->value(name);
    }
    return entries ? !mUnlisted.contains(folder) || findUnlisted(path, found) : !isThere;
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
        const Entries* const entries = list(folder.left(begin));
        if (!entries) {
            return false;
        }
        const auto entry = entries->find(folder.mid(begin, end - begin));
        isThere = entry != entries->end() && entry->kind == RemoteEntry::Directory;
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
