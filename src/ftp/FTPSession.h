#pragma once

#include "ProgressThrottle.h"
#include "SshLogin.h"

#include <tavrel/FTPSettings.h>
#include <tavrel/VFSCurlData.h>

#include <transfer/EasyHandle.h>
#include <transfer/TransferLoop.h>
#include <trust/PeerCheck.h>

#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QString>
#include <QStringList>

#include <curl/curl.h>

#include <array>
#include <memory>

class FTPCurl;

/// The server's and libcurl's texts about a request.
struct RequestReason
{
    QString reply; ///< the last line of the server
    QString detail; ///< libcurl's text for a failure
};

/**
 * The libcurl side of an FTPCurl: one handle, the loop that holds its connection, and one request at a time.
 *
 * After a result that may leave a reply of the server unread the connection is replaced, so that the next request does
 * not read it. Used by one thread at a time.
 */
class FTPSession
{
public:
    /// The one that a client owns.
    static FTPSession& of(const FTPCurl& owner);

    static bool isOverTls(FTPSettings::Protocol protocol);

    FTPSession() = default;
    ~FTPSession();

    FTPSession(const FTPSession&) = delete;
    FTPSession& operator=(const FTPSession&) = delete;

    /// Makes the handle and sets the options of the session, after closing an open one; false when libcurl gives none.
    bool open(const FTPSettings& settings);
    void setProxy(const QNetworkProxy& proxy);
    /// Never waits for the server.
    void close();
    /// Forgets the handle without cleaning it up.
    void release();

    /// Ends a request during which nothing moves for so many seconds; 0: never.
    void setStallTimeOut(int seconds);

    /// Null when the session is closed.
    CURL* handle() const { return mHandle; }
    /// The handle for the application, whose options stay.
    CURL* lend();
    bool isLent() const { return mIsLent; }
    /// True within perform(), for the slots of the signals that it emits.
    bool isRunning() const { return mIsRunning; }

    /// Runs a request of its owner to the end. The result is libcurl's; -1 when the session is closed;
    /// CURLE_ABORTED_BY_CALLBACK if an interruption was requested; CURLE_RECURSIVE_API_CALL within another request.
    int perform(VFSCurlData& data);
    /// Runs a request and then commands in the words of its protocol, up to the first that fails.
    int performCommands(VFSCurlData& data, const QStringList& commands);

    /// Sets the trust for the next open().
    PeerCheck& peerCheck() { return mPeerCheck; }
    /// Sets the keys for the next open().
    SshLogin& sshLogin() { return mSshLogin; }

    /// Of the last request. It can be put back after further ones that only clean up.
    const RequestReason& reason() const { return mReason; }
    void setReason(const RequestReason& reason) { mReason = reason; }
    /// How many commands of the last performCommands() the server has accepted; 0 if that is not known, as over SFTP,
    /// after a login or after a pause.
    int acceptedCommands() const;
    /// Whether the last request, a failed upload, may have created a file.
    bool mayHaveLeftFile() const;

    // For the callbacks of a request.
    ProgressThrottle& progressThrottle() { return mProgressThrottle; }
    void takeReply(const QString& line);

private:
    CurlList wakeUp();
    CURLcode run(VFSCurlData& data);
    CURLcode runOnce(VFSCurlData& data);
    CURLcode takeKeptReply(CURLcode code);
    void setUrl(const QUrl& url);
    void setTilde(const QString& path);
    void setTimeLimit(bool isLimited);
    /// Whether libcurl would not enter the directory of a request, as it takes the connection to be there, although
    /// somebody may have removed it since.
    bool mayHaveLostDirectory(const VFSCurlData& data) const;
    void makeLoop();
    void replaceConnection();
    bool isReconnectionRefused(CURLcode code, int type) const;
    void setSecurity();
    void setTrust(const FTPSettings& settings);
    bool isDataConnectionNext() const;

    CURL* mHandle = nullptr;
    PeerCheck mPeerCheck; ///< before the loop, whose end closes the connections
    SshLogin mSshLogin;
    std::unique_ptr<TransferLoop> mLoop;
    FTPSettings::Protocol mProtocol = FTPSettings::FTP;
    bool mIsRunning = false;
    ProgressThrottle mProgressThrottle;
    RequestReason mReason;
    int mAcceptances = 0; ///< replies since the beginning of the last performCommands()
    bool mHasWoken = false; ///< in it
    QElapsedTimer mSinceCommand; ///< since the beginning of the last request that the server has answered
    std::array<char, CURL_ERROR_SIZE> mErrorText {};
    int mStallTimeOut = 0; ///< in seconds
    bool mIsLent = false; ///< to the application, which may set options itself
    QUrl mUrl; ///< of the last request
    QByteArray mEncodedUrl; ///< of mUrl
    bool mHasTilde = false; ///< the last request
    QString mDirectory; ///< of the last request, relative to the login directory; empty there
    bool mIsDirectoryDoubtful = false; ///< the last transfer in it failed
};
