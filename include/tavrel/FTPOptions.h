#pragma once

#include <tavrel/tavrel_export.h>

#include <QScopedPointer>
#include <QString>

class FTPCurl;

/**
 * The settings of an FTPCurl beside its FTPSettings; they hold for all its sessions.
 *
 * The setters that return bool refuse all other values than the documented ones with FTPCurl::FUNC_PARAM_ERROR; the
 * setting then stays as it is.
 */
class TAVREL_EXPORT FTPOptions
{
public:
    /// See setNameEncoding().
    enum NameEncoding { Latin1 = 0, Utf8 = 1 };
    /// See setUploadMode().
    enum UploadMode { InPlace = 0, TemporaryName = 1 };

    /// Permission bits that uploaded files and new directories get over SFTP, 0 to 0777; -1, the default, leaves them
    /// to the server. The server takes off the bits of its umask. Other values are kept as well, and each request that
    /// would send them fails with CURLE_BAD_FUNCTION_ARGUMENT.
    ///@{
    int filePermissions() const;
    void setFilePermissions(int permissions);
    int folderPermissions() const;
    void setFolderPermissions(int permissions);
    ///@}

    /// Ends a request with CURLE_OPERATION_TIMEDOUT when no byte has come or gone for so many seconds, be it while
    /// connecting, during a transfer or while an answer is due; over SFTP up to 6 s later after the last byte of a
    /// file and in commands. An upload that ends with this code then fails instead of counting as sent. From 1 to
    /// 86400; 0, the default, waits as long as libcurl does.
    bool setStallTimeOut(int seconds);
    int stallTimeOut() const; ///< In seconds; see setStallTimeOut().

    /// InPlace, the default, writes the remote file itself. TemporaryName writes a file beside it, NAME.XXXXXXXX.part,
    /// and renames that when its size on the server equals the size of the source. Where the server does not replace a
    /// file by a rename, as over SFTP, the old file is renamed to NAME.XXXXXXXX.old first and removed afterwards: for
    /// about one round trip there is no file of that name, and a connection that breaks then, or an interruption,
    /// leaves the other two. After any other failure the old file is as it was, and the temporary one is removed if the
    /// server still answers and no interruption was requested. A time-out (28) does not count as sent.
    bool setUploadMode(UploadMode mode);
    UploadMode uploadMode() const; ///< See setUploadMode().
    /// Whether an upload succeeds only if the size of the file on the server equals the size of the source; otherwise
    /// it fails with CURLE_PARTIAL_FILE, also when the server does not tell the size. A time-out (28) then does not
    /// count as sent. Off by default.
    void setVerifyUploads(bool verify);
    bool verifiesUploads() const; ///< See setVerifyUploads().
    /// Whether getFile() and putFile() continue a target that is there from an earlier transfer, if its last bytes, up
    /// to 64 KiB, are the same in the source; only these are compared. Otherwise, or if the target is longer or the
    /// server does not append, the transfer starts anew: a download then replaces the local file when the remote one
    /// has come completely, and makes it empty if that is. An upload takes two more requests, and three or four if it
    /// continues: size and end of the remote file are compared, over SFTP also the place where it was continued, and
    /// the file is sent anew if they differ. A time-out (28) does not count as sent. Uploads with TemporaryName always
    /// start anew. Off by default.
    void setResumeTransfers(bool resume);
    bool resumesTransfers() const; ///< See setResumeTransfers().
    /// Whether putFile() gives the remote file the modification time of the local one, and getFile() gives
    /// the local file the time of the remote one, to the second. If the time cannot be set or is not known, the
    /// transfer is complete and fails with TIME_NOT_KEPT. Over SFTP it takes libcurl 7.73 to set a remote time. Off by
    /// default.
    void setKeepModificationTime(bool keep);
    bool keepsModificationTime() const; ///< See setKeepModificationTime().

    /// The encoding of the names that list(), listRecursively() and removeResource() read. Latin1, the default, loses
    /// all other characters: "10 €.txt" is listed as "10 ?.txt". With Utf8, names are what the server sends.
    bool setNameEncoding(NameEncoding encoding);
    NameEncoding nameEncoding() const; ///< See setNameEncoding().

    /// The key with which the next sessions log in over SFTP, before the password: OpenSSH's or PEM files, the public
    /// one only if the private one does not hold it, the passphrase empty for a key without one. Files that cannot be
    /// read are refused; a wrong passphrase shows as a key that the server does not accept. Without a key, the
    /// default, libcurl tries id_rsa of ~/.ssh and of the current folder. libssh2 before 1.11 signs with RSA keys only
    /// as servers since OpenSSH 8.8 refuse; use Ed25519 or ECDSA.
    bool setSshKey(
        const QString& privateKey, const QString& publicKey = QString(), const QString& passphrase = QString());
    void clearSshKey(); ///< Removes the key, for the next sessions.
    /// Whether the next sessions log in over SFTP with the keys of the agent at SSH_AUTH_SOCK as well. All methods are
    /// tried on one connection: the key of setSshKey(), the password, which the agent does without if it is empty, the
    /// agent, and keyboard-interactive. An agent that does not answer within 5 s is left out. Off by default.
    void setUseSshAgent(bool use);
    bool usesSshAgent() const; ///< See setUseSshAgent().

protected:
    /// For FTPCurl, which is the client.
    explicit FTPOptions(FTPCurl& client);
    ~FTPOptions();

    struct Private;
    const QScopedPointer<Private> mPrivate; ///< the state of the client

private:
    Q_DISABLE_COPY(FTPOptions)
};
