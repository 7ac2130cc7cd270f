#pragma once

#include <tavrel/FTPSettings.h>
#include <tavrel/VFSCurlData.h>
#include <tavrel/VirtualFile.h>
#include <tavrel/tavrel_export.h>

#include <foundation/Errorable.h>
#include <foundation/Threadable.h>

#include <QByteArray>
#include <QFlags>
#include <QHash>
#include <QString>
#include <QUrl>

#include <curl/curl.h>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

class CommandTexts;
class QIODevice;
class TransferLoop;
struct DirectoryLevel;
struct ListingEntry;

/**
 * Client for a remote file store over FTP, FTPS (explicit or implicit TLS) or SFTP.
 *
 * initHost() opens a session; its requests share one libcurl handle and its connection, which is made when the first
 * request needs it. A path is relative to the folder and the public sub-folder of the settings, or starts with "/".
 * Both kinds start at the login directory over FTP and FTPS, and at the root of the server over SFTP. A path with a
 * line break or a NUL is refused.
 *
 * An operation returns true on success. Otherwise error() holds the reason: a value of Error, or a CURLcode named
 * "code" whose message names the operation. After any failure the session can be used again; a connection that may
 * be in disorder is replaced. Certificates and host keys are not verified.
 *
 * Cancellation: tie the object to a Thread with Thread::addThreadableChild(); after requestInterruption() on that
 * thread, every operation returns within 0.3 s, with INTERRUPTED or CURLE_ABORTED_BY_CALLBACK. Closing a session and
 * destroying the object never wait for the server.
 *
 * Threads: an object is used by one thread at a time and emits its signals there.
 */
class TAVREL_EXPORT FTPCurl : public Threadable, public Errorable
{
    Q_OBJECT

public:
    /// The numbers are part of the interface.
    enum Error {
        NOT_INITIALIZED = 0, ///< an operation outside a session
        INTERRUPTED = 1, ///< stopped by an interruption
        FUNC_PARAM_ERROR = 2, ///< an argument that the operation refuses; the message names both
    };

    /// For callers of rm() that share code with other file stores.
    enum IOModeFlags { NoModeFlags = 0 };

    explicit FTPCurl(QObject* parent = nullptr);
    ~FTPCurl() override;

    /// Opens a session, after closing an open one. Nothing is sent yet: a wrong host or password shows at the first
    /// request. The proxy is that of the system.
    bool initHost(const FTPSettings& settings);
    /// Ends the session and clears the error. What is known of existing resources stays.
    void close();
    /// Forgets the session without releasing its handle, which is then the caller's; see curlhandle().
    void clearProperties();
    /// True within a session; otherwise raises NOT_INITIALIZED.
    bool isValid();

    /// The URL of a path, with user and password. It ends in a slash only if the path does, or is empty.
    QUrl generateUrl(const QString& path) const;
    /// The decoded path of that URL, such as "/./www/index.html"; over SFTP with one more slash in front.
    QString canonicalizedFilePath(const QString& path) const;
    /// The same without "/./" or "/" in front.
    QString canonicalizedRelativeFilePath(const QString& path) const;

    /// Appends the entries of a directory, "" being where paths start, named by their canonical path; that of a
    /// directory ends in a slash. Lines that are no entries are skipped. A symbolic link is a file when the server
    /// finds a file behind it, else a directory without the slash.
    bool list(const QString& path, VirtualFileList& files);
    bool listRemote(const QString& path, VirtualFileList& files);
    /// Appends all entries below a directory that are no directories, depth first. What was found before a failure
    /// stays in files.
    bool listRecursively(const QString& path, VirtualFileList& files);

    /// Tells whether a file exists, or a directory when path ends in a slash; false when that could not be found out.
    /// Answers come from a cache that lives as long as the object.
    bool resourceExists(const QString& path, bool& exists);
    /// 1: exists; 0: does not; -1: not known. A directory with and without its slash is the same resource.
    int existingResourceCacheValue(const QString& path) const;
    void setExistingResourceCache(const QString& path, int value);

    /// Creates a directory and what is missing above it. True when it exists already.
    bool createDirectory(const QString& directory);
    /// The same for the directory of a file.
    bool createDirectoryIfNecessary(const QString& filePath);
    /// Creates one directory.
    bool internal_mkdir(const QString& directory);
    /// Sets the permission bits of a file or directory; -1 does nothing. A server's refusal returns false and is not
    /// left in error().
    bool internal_chmod(const QString& filePath, int mode);
    /// Removes a file, or a directory with all that is below it, which may include what is behind a symbolic link. It
    /// goes on past what cannot be removed; the result is that of the last step, the removal of path itself.
    bool removeResource(const QString& path);
    /// Removes one file or one empty directory. Over SFTP path is taken as the server understands it, without the
    /// folders of the settings.
    bool removeSimpleResource(const QString& path, bool isDirectory);
    /// Removes a directory if it is empty, and clears the error.
    void tryRemoveDirIfEmpty(const QString& path);
    /// removeResource(); the flags have no effect.
    bool rm(const QString& path, QFlags<IOModeFlags> flags);

    /// Uploads write the remote file in place: one that fails leaves what was sent. They can create the missing
    /// directories first, and record in the cache that the file exists, or that this is no longer known.
    bool putData(const QByteArray& data, const QString& target, bool createDirectories);
    bool putFile(const QString& source, const QString& target, bool createDirectories);
    /// Uploads what a device of known size() holds and closes it; source names it in messages. A time-out (libcurl's
    /// 28) counts as sent.
    bool putDataFromIoDevice(QIODevice* device, const QString& source, const QString& target);

    /// Downloads a file into data, which is emptied first and holds what arrived when the request fails.
    bool getData(const QString& source, QByteArray& data);
    /// Downloads into a local file. It is truncated when the first byte arrives, not touched when there is none, and
    /// keeps what arrived when the request fails.
    bool getFile(const QString& source, const QString& target);

    /// libcurl's handle of the session, for options of the application's own; null outside a session. It stays the
    /// object's.
    CURL* curlhandle() const { return mHandle; }
    const FTPSettings& ftpSettings() const { return mFtpSettings; }
    /// Permission bits that uploaded files and new directories get over SFTP; -1, the default, leaves them to the
    /// server.
    int filePermissions() const { return mFilePermissions; }
    void setFilePermissions(int permissions) { mFilePermissions = permissions; }
    int folderPermissions() const { return mFolderPermissions; }
    void setFolderPermissions(int permissions) { mFolderPermissions = permissions; }

    /// Emits infoServer().
    void appendInfoServer(const QString& info);
    /// Clears the error for CURLE_OK; otherwise raises the code with a message that begins with context. The last
    /// argument is not used.
    void handleCurlError(CURLcode code, const QString& context, VFSCurlData* data);

    /// libcurl's callbacks; the last argument (of progress: the first) is a VFSCurlData or null.
    static size_t header(void* ptr, size_t size, size_t nmemb, void* data);
    static size_t fread(void* ptr, size_t size, size_t nmemb, void* data);
    static size_t fwrite(void* ptr, size_t size, size_t nmemb, void* data);
    static int progress(void* data, double dltotal, double dlnow, double ultotal, double ulnow);

Q_SIGNALS:
    /// Bytes of an upload; at most once in 70 ms. The URL holds the user and the password: do not show it.
    void progressUpload(QString url, qint64 transferred, qint64 contentlength);
    /// A line that the server sent, over FTP and FTPS.
    void infoServer(QString info);

private:
    friend TAVREL_EXPORT int performCurlRequest(VFSCurlData& data);

    void setTransferOptions();
    void releaseHandle();
    CURLcode runInterruptibly();
    bool isProgressDue(const QTime& last);
    void setProgressStart(const QTime& last, int elapsedMs);
    /// True when there is nothing to complain of; otherwise these raise an error.
    bool handleResult(int code, const QString& context);
    bool checkPath(const QString& path, const char* operation, int line);
    bool accepts(const QString& path, const char* operation, const char* messageWhenEmpty, int line);
    /// Raise an error and return false.
    bool refuse(const QString& message, int line);
    bool stopInterrupted(int line);
    /// Ends the process when the protocol is not known.
    CommandTexts commandTexts(const char* signature) const;
    int request(VFSCurlData::Kind kind, QIODevice* device, const QString& path);
    int requestCommand(VFSCurlData::Kind kind, const QString& command);
    bool resolveLink(ListingEntry& entry);
    bool findExistingLevel(const QString& path, int& level);
    bool createBelowLevel(const QString& path, int level);
    QString commandPath(const QString& canonicalPath) const;
    bool enterOrRemove(const QString& path, std::vector<DirectoryLevel>& levels);
    bool download(const QString& source, QIODevice& device, const std::function<bool()>& finish);

    bool mInitialized = false;
    int mFolderPermissions = -1;
    int mFilePermissions = -1;
    // Deliberate: nothing changes it yet; it gives the paths of any protocol the leading slash that SFTP has.
    bool mForceLeadingSlash = false;
    CURL* mHandle = nullptr;
    QHash<QString, int> mExistingResources;
    FTPSettings mFtpSettings;
    std::unique_ptr<TransferLoop> mLoop;
    QTime mLastProgress; ///< of the request that last asked whether its next progress is due,
    std::chrono::steady_clock::time_point mNextProgress; ///< which it is not before this
};
