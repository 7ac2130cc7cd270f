#pragma once

#include "CommandTexts.h"
#include "FTPSession.h"
#include "ListingReader.h"
#include "RemotePath.h"

#include <tavrel/FTPCurl.h>

#include <QHash>

#include <functional>
#include <optional>
#include <vector>

class DetailedListing;
class QFile;
class QFileDevice;
struct DirectoryLevel;

/**
 * The state of an FTPCurl and the operations behind its functions.
 *
 * A QString is a path that a caller or a listing gave, a RemotePath a canonical one. Functions that return bool raise
 * an error of the client when they return false.
 */
struct FTPOptions::Private
{
    using Reading = ListingReader::Reading;

    explicit Private(FTPCurl& owner)
        : client(owner)
    {
        setSettings(FTPSettings());
    }

    void setSettings(const FTPSettings& newSettings);
    RemotePath path(const QString& path) const;
    QUrl url(const RemotePath& path) const;
    QString cacheKey(const QString& path) const;

    // Errors
    bool setResult(int code, const QString& context);
    QString withoutSecrets(const QString& text);
    bool refuse(const QString& message, int line);
    bool stopInterrupted(int line);
    bool checkIdle();
    bool checkUsable();
    /// The path of an operation, if it can go to a server. An empty one is refused with messageWhenEmpty.
    std::optional<RemotePath> accept(
        const QString& path, const char* operation, const char* messageWhenEmpty, int line);
    bool checkSendable(const RemotePath& path, const char* operation, int line);
    /// Refuses a mode in which files would go without the protection that the protocol promises.
    bool checkMode();
    bool checkTrust(FTPSettings::Protocol protocol);

    // Requests; they return libcurl's result or -1.
    int request(VFSCurlData::Kind kind, QIODevice* device, const RemotePath& path);
    int requestCommands(VFSCurlData::Kind kind, const QStringList& commands);
    /// Ends the process when the protocol is not known.
    CommandTexts commandTexts(const char* signature) const;
    QString commandPath(const RemotePath& path) const;

    // Listings
    int requestListing(const QString& command, const RemotePath& directory, QByteArray& listing);
    bool setListingFailure(int code, const RemotePath& directory);
    /// Takes the memory of the entries off memoryLeft.
    bool list(const RemotePath& directory, VirtualFileList& files, qint64& memoryLeft, Reading reading);
    bool list(const QString& path, VirtualFileList& files, qint64& memoryLeft);
    bool listRecursively(const QString& path, VirtualFileList& files);
    bool listDetailed(const RemotePath& directory, QVector<RemoteEntry>& entries);
    bool readListing(ListingReader& reader, const RemotePath& directory, VirtualFileList& files, qint64& memoryLeft);
    bool readDetails(DetailedListing& listing, const RemotePath& directory, QVector<RemoteEntry>& entries);
    /// Runs an operation that keeps listings; a lack of memory becomes an error.
    bool withinMemory(const std::function<bool()>& operation);
    bool resolveLink(ListingEntry& entry);

    // Commands
    bool exists(const RemotePath& path, bool& exists);
    bool createDirectory(const RemotePath& directory);
    RemotePath levelOf(const RemotePath& directory, int level) const;
    bool findExistingLevel(const RemotePath& directory, int& level);
    bool createBelowLevel(const RemotePath& directory, int level);
    bool makeDirectory(const RemotePath& directory);
    bool changeMode(const RemotePath& path, int mode);

    // Removal
    bool removeOne(const QString& path, bool isDirectory);
    bool setRemovalResult(int code, const QString& path);
    bool removeTree(const RemotePath& path);
    void removeFiles(DirectoryLevel& level);
    QStringList nextFiles(const DirectoryLevel& level) const;
    bool enterOrRemove(const RemotePath& path, std::vector<DirectoryLevel>& levels, qint64& memoryLeft);

    // Publishing
    bool rename(const RemotePath& from, const RemotePath& to);
    RemotePath besides(const RemotePath& file, const QString& suffix) const;
    bool isChecked() const { return uploadMode != InPlace || verifyUploads; }
    /// Whether an upload whose end the server has not confirmed counts as sent.
    bool isLenient() const { return !isChecked() && !resumeTransfers; }
    int upload(QIODevice* device, const RemotePath& target, qint64 sent = 0);
    int findSize(const RemotePath& file, qint64& size);
    bool findUploadedSize(const RemotePath& file, qint64& size);
    int compareSize(const RemotePath& file, qint64 size);
    int replace(const RemotePath& target, const RemotePath& part);
    void discard(const RemotePath& part);
    bool setRemoteTime(const RemotePath& file, const QDateTime& time);
    bool setLocalTime(QFileDevice& file);
    bool failToKeepTime(const QString& path);

    // Transfers
    bool putData(const QByteArray& data, const RemotePath& target, bool createDirectories);
    bool putFile(QFile& file, const RemotePath& target);
    bool putDevice(QIODevice* device, const QString& source, const RemotePath& target, qint64 sent = 0);
    bool setUploadResult(int code, const QString& source, const RemotePath& target);
    bool download(const RemotePath& source, QIODevice& device, const std::function<bool()>& finish);
    bool setDownloadResult(int code, const RemotePath& source);

    // Resumed transfers
    int append(QIODevice* device, const RemotePath& target, qint64 sent);
    int compareAppended(QIODevice& source, const RemotePath& target, qint64 sent);
    int comparePart(QIODevice& source, const RemotePath& target, qint64 offset);
    int requestRest(QIODevice& device, const RemotePath& path, qint64 offset);
    bool resumeDownload(const RemotePath& source, const QString& target);
    bool replaceFile(const RemotePath& source, const QString& target);
    int findSent(QFile& file, const RemotePath& target, qint64& sent);

    FTPCurl& client;
    bool initialized = false;
    int folderPermissions = -1;
    int filePermissions = -1;
    // Deliberate: nothing changes it yet; it gives the paths of any protocol the leading slash that SFTP has.
    bool forceLeadingSlash = false;
    UploadMode uploadMode = InPlace;
    bool verifyUploads = false;
    bool keepModificationTime = false;
    bool resumeTransfers = false;
    bool isMlsdRefused = false; ///< by the server of the session
    NameEncoding nameEncoding = Latin1;
    int stallTimeOut = 0; ///< in seconds; 0: none
    QHash<QString, int> existingResources;
    FTPSettings settings;
    QUrl baseUrl; ///< of the settings, without a path
    FTPSession session;
};
