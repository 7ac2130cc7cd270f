#pragma once

#include <tavrel/FTPOptions.h>
#include <tavrel/FTPSettings.h>
#include <tavrel/PeerTrust.h>
#include <tavrel/RemoteEntry.h>
#include <tavrel/VFSCurlData.h>
#include <tavrel/VirtualFile.h>
#include <tavrel/tavrel_export.h>

#include <foundation/Errorable.h>
#include <foundation/Threadable.h>

#include <QByteArray>
#include <QFlags>
#include <QString>
#include <QUrl>
#include <QVector>

#include <curl/curl.h>

class FTPSession;
class QDateTime;
class QIODevice;

/**
 * Client for a remote file store over FTP, FTPS (explicit or implicit TLS) or SFTP.
 *
 * initHost() opens a session; its requests share one libcurl handle and its connection, which the first request makes.
 * A path is relative to the folder and the public sub-folder of the settings, or starts with "/"; both start at the
 * login directory over FTP and FTPS, at the root of the server over SFTP. One with a control character (below
 * U+0020) is refused.
 *
 * An operation returns true on success. Otherwise error() holds a value of Error, or a CURLcode named "code" whose
 * message names the operation. After any failure the session can be used again; a connection that may be in disorder
 * is replaced. The settings of FTPOptions hold for all sessions of the object.
 *
 * Cancellation: tie the object to a Thread with Thread::addThreadableChild(); after requestInterruption() on that
 * thread, every operation returns within 0.3 s, with INTERRUPTED or CURLE_ABORTED_BY_CALLBACK. Closing a session and
 * destroying the object never wait for the server.
 *
 * Slots: a slot of a signal runs within the request that emits it. An operation that it starts on this object is
 * refused with REQUEST_IN_PROGRESS, as are initHost(), close() and clearProperties(), and the outer request goes on.
 * Do not destroy the object there; use deleteLater().
 *
 * Threads: an object is used by one thread at a time and emits its signals there.
 */
class TAVREL_EXPORT FTPCurl : public Threadable, public Errorable, public FTPOptions
{
    Q_OBJECT

public:
    /// The numbers are part of the interface.
    enum Error {
        NOT_INITIALIZED = 0, ///< an operation outside a session
        INTERRUPTED = 1,
        FUNC_PARAM_ERROR = 2, ///< an argument that the operation refuses; the message names both
        REQUEST_IN_PROGRESS = 3, ///< called by a slot while a request of the object is running
        UNKNOWN_LISTING = 4, ///< listDetailed() does not understand most lines of a listing
        TIME_NOT_KEPT = 5, ///< a file was transferred without its modification time
        LISTING_TOO_LARGE = 6, ///< a directory has more than 64 MiB of lines, or an operation lists too many entries
    };

    /// For callers of rm() that share code with other file stores.
    enum IOModeFlags { NoModeFlags = 0 };

    /// Only logs a warning when libcurl is not initialized; see TavrelInitializer.
    explicit FTPCurl(QObject* parent = nullptr);
    ~FTPCurl() override;

    /// Opens a session, after closing an open one. Nothing is sent yet: a wrong host or password shows at the first
    /// request. A port above 65535 is refused, as is active mode over FTPS with libcurl before 8.5, which does not
    /// protect the files there. It uses the system's proxy; an interruption also ends the wait for
    /// a system that is slow to name it.
    bool initHost(const FTPSettings& settings);
    /// Which servers the next sessions accept; anyone by default. Ends an open session, so call it before initHost(). A
    /// trust that is not valid is refused with FUNC_PARAM_ERROR, also by every initHost() until a valid trust is set;
    /// initHost() also refuses a protocol that the trust does not cover. A server is refused at the first request,
    /// before user and password are sent; data connections of FTPS are covered.
    bool setTrust(const PeerTrust& trust);
    /// The key that the server of this or the last session has shown, even if refused: "sha256//…" of the TLS public
    /// key, "SHA256:…" of the SSH host key. Empty before the first connection and over FTP. Over SFTP without known
    /// hosts it takes libcurl 7.84, over FTPS a libcurl with the OpenSSL that this library uses.
    QString peerFingerprint() const;
    /// Ends the session and clears the error. The cache of existing resources is kept.
    void close();
    /// Forgets the session without cleaning its handle up, which is then the caller's; see curlhandle().
    void clearProperties();
    /// True within a session; otherwise raises NOT_INITIALIZED.
    bool isValid();

    /// The URL of a path, with user and password. It ends in a slash only if the path does, or is empty.
    QUrl generateUrl(const QString& path) const;
    /// The decoded path of that URL, such as "/./www/index.html"; over SFTP with one more slash in front.
    QString canonicalizedFilePath(const QString& path) const;
    /// That path without "/./" or "/" in front.
    QString canonicalizedRelativeFilePath(const QString& path) const;

    /// Appends the entries of a directory, "" being where paths start, named by their canonical path; the path
    /// of a directory ends in a slash. Lines that are no entries are skipped. A symbolic link is a file when the server
    /// finds a file behind it, else a directory without the slash.
    ///
    /// All functions that list keep up to 64 MiB of a listing, and of the entries of one call as many as 512 MiB of
    /// memory hold, about two million. Beyond that they fail with LISTING_TOO_LARGE.
    bool list(const QString& path, VirtualFileList& files);
    /// Calls list().
    bool listRemote(const QString& path, VirtualFileList& files);
    /// Appends all entries below a directory that are no directories, depth first. What was found before a failure
    /// stays in files.
    bool listRecursively(const QString& path, VirtualFileList& files);
    /// Appends the entries of a directory with sizes, times and permissions as far as the server shows them: by MLSD,
    /// else from lines as list() reads them. Links are not followed, names are read as UTF-8. Lines whose name is not
    /// certain are skipped, and a name with two lines is RemoteEntry::Other. A listing of which most lines are in no
    /// known style is refused with UNKNOWN_LISTING. A failure appends nothing.
    bool listDetailed(const QString& path, QVector<RemoteEntry>& entries);

    /// Tells whether a file exists, or a directory when path ends in a slash. Answers are cached as long as the object
    /// lives, one for a path with and without its slash: the answer no for an existing directory that was asked for
    /// without the slash holds for the directory.
    bool resourceExists(const QString& path, bool& exists);
    /// 1: exists; 0: does not; -1: not known.
    int existingResourceCacheValue(const QString& path) const;
    /// Replaces that value, which is not checked.
    void setExistingResourceCache(const QString& path, int value);

    /// Creates a directory and its missing parents. True when it exists already.
    bool createDirectory(const QString& directory);
    /// Creates the directory of a file and its missing parents.
    bool createDirectoryIfNecessary(const QString& filePath);
    /// Creates one directory.
    bool internal_mkdir(const QString& directory);
    /// Sets the permission bits of a file or directory by CHMOD, or by SITE CHMOD if that fails; -1 does nothing. The
    /// mode is not checked. Once a command is sent, error() stays as it was, whatever the result; after a failure see
    /// serverReply() and errorDetail().
    bool internal_chmod(const QString& filePath, int mode);
    /// Gives a file or a directory another path. Over FTP most servers replace an existing file, over SFTP they refuse.
    bool rename(const QString& from, const QString& to);
    /// Removes a file, or a directory with all that is below it, which may include what is behind a symbolic link. It
    /// goes on past what cannot be removed; the result tells whether path itself was removed in the last step. Entries
    /// whose name is not certain, and directories whose name has two lines in a listing, are left.
    bool removeResource(const QString& path);
    /// Removes one file or one empty directory. Over SFTP path is sent as it is given and starts at the root of the
    /// server, without the folders of the settings.
    bool removeSimpleResource(const QString& path, bool isDirectory);
    /// Removes a directory, given as to removeSimpleResource(), if it is empty, and clears the error.
    void tryRemoveDirIfEmpty(const QString& path);
    /// removeResource(); the flags have no effect.
    bool rm(const QString& path, QFlags<IOModeFlags> flags);

    /// Uploads write the remote file in place: one that fails leaves a part. They can create the missing directories
    /// first, and record in the cache that the file exists, or that this is no longer known. A source that grows
    /// meanwhile may fail with CURLE_PARTIAL_FILE.
    ///
    /// Success of putFile() is no proof: it counts a time-out (libcurl's 28) as sent, unless a setting of FTPOptions
    /// says otherwise. putData() does not. With the servers of one internet provider, putFile() sends an empty file in
    /// place of one that cannot be read.
    ///@{
    bool putData(const QByteArray& data, const QString& target, bool createDirectories);
    bool putFile(const QString& source, const QString& target, bool createDirectories);
    ///@}
    /// Uploads a device of known size() from its position to its end, and closes it; source names it in messages. A
    /// device that cannot be opened or read is refused before anything is sent. A time-out (libcurl's 28) counts as
    /// sent, unless a setting of FTPOptions says otherwise.
    bool putDataFromIoDevice(QIODevice* device, const QString& source, const QString& target);
    /// Downloads a file into data, which is emptied first and holds what arrived when the request fails.
    bool getData(const QString& source, QByteArray& data);
    /// Downloads into a local file. It is truncated when the first byte arrives, not touched when there is none, and
    /// keeps what arrived when the request fails.
    bool getFile(const QString& source, const QString& target);

    /// libcurl's handle of the session, for options of the application's own, not for transfers; null outside a session
    /// (an initHost() that was interrupted may leave one). It stays the object's. Each request sets CURLOPT_URL,
    /// UPLOAD, PROGRESSDATA, WRITEDATA, READDATA, HEADERDATA, INFILESIZE_LARGE, NOBODY, HEADER, FILETIME, BUFFERSIZE,
    /// QUICK_EXIT and functions and data of OPENSOCKET and CLOSESOCKET, over SFTP also NEW_FILE_PERMS and
    /// NEW_DIRECTORY_PERMS. A command sets and resets POSTQUOTE, a listing CUSTOMREQUEST, a resumed transfer
    /// RESUME_FROM_LARGE, RANGE and APPEND. setStallTimeOut() sets SERVER_RESPONSE_TIMEOUT, over SFTP also
    /// LOW_SPEED_LIMIT and LOW_SPEED_TIME; a request after a pause of that time makes a new connection once this
    /// function was called. All other options stay as they are until the session ends.
    CURL* curlhandle() const;
    const FTPSettings& ftpSettings() const; ///< As given to initHost().

    /// Sets the modification time of a remote file, to the second; fails with TIME_NOT_KEPT where the server cannot.
    bool setModificationTime(const QString& path, const QDateTime& time);
    /// The size of a remote file in bytes. Fails with CURLE_REMOTE_FILE_NOT_FOUND, or over FTP with
    /// CURLE_REMOTE_ACCESS_DENIED, when there is none, and with CURLE_PARTIAL_FILE when the server does not tell it.
    bool fileSize(const QString& path, qint64& size);

    /// The last line that the server sent in reply to the last request, such as "552 disk quota exceeded". Empty over
    /// SFTP, and when no reply has come. A password in it is replaced by "***", as in errorDetail().
    QString serverReply() const;
    /// libcurl's own text for the failure of the last request, which often tells more than errorMessage(). Empty after
    /// a success, and when the application has set an error buffer of its own.
    QString errorDetail() const;

    /// Emits infoServer().
    void appendInfoServer(const QString& info);
    /// Clears the error for CURLE_OK; otherwise raises the code with a message that begins with context. The last
    /// argument is not used.
    void handleCurlError(CURLcode code, const QString& context, VFSCurlData* data);

    /// libcurl's callbacks; the last argument (of progress: the first) is a VFSCurlData or null.
    ///@{
    static size_t header(void* ptr, size_t size, size_t nmemb, void* data);
    static size_t fread(void* ptr, size_t size, size_t nmemb, void* data);
    static size_t fwrite(void* ptr, size_t size, size_t nmemb, void* data);
    static int progress(void* data, double dltotal, double dlnow, double ultotal, double ulnow);
    ///@}

Q_SIGNALS:
    /// Bytes of an upload; at most once in 70 ms. The URL holds the user and the password: do not show it.
    void progressUpload(QString url, qint64 transferred, qint64 contentlength);
    /// Emitted with progressUpload(), but without the URL.
    void uploadProgress(qint64 sent, qint64 total);
    /// A line that the server sent, over FTP and FTPS.
    void infoServer(QString info);

private:
    friend class FTPSession;
};
