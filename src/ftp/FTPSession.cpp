// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "FTPSession.h"

#include "FTPCurlPrivate.h"
#include "RemotePath.h"
#include "RequestOptions.h"
#include "ServerReply.h"

#include <QIODevice>
#include <QScopedValueRollback>

namespace {

// Deliberate: malloc would place 128 KiB at the beginning of a page; see WriteBatch.cpp.
constexpr long FTP_UPLOAD_BUFFER_BYTES = 120L * 1024;
constexpr long SFTP_UPLOAD_BUFFER_BYTES = 2L * 1024 * 1024;
constexpr long NO_TIME_OUT_SECONDS = 2147483; // the most that libcurl takes, 24 days

/// The login and the commands before a transfer have so many times the stall time-out, as each may take that.
constexpr long STALLS_UNTIL_CONNECTED = 3;

constexpr int NO_SESSION = -1;

void setText(CURL* easy, CURLoption option, const QString& text)
{
    curl_easy_setopt(easy, option, text.toUtf8().constData());
}

/// Whether the server has answered all that it was asked, so that its next reply belongs to the next command.
bool isConversationInOrder(int code)
{
    switch (code) {
    case CURLE_OK:
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_FTP_COULDNT_RETR_FILE:
    case CURLE_QUOTE_ERROR:
    case CURLE_UPLOAD_FAILED:
    case CURLE_REMOTE_FILE_EXISTS:
    case CURLE_REMOTE_FILE_NOT_FOUND:
        return true;
    default:
        return false;
    }
}

/// The result of an upload that cannot begin, before the server hears of it. Opens the source of one that can.
CURLcode openSource(QIODevice* device)
{
    if (!device || !(device->isOpen() || device->open(QIODevice::ReadOnly))) {
        return CURLE_ABORTED_BY_CALLBACK;
    }
    return device->isReadable() ? CURLE_OK : CURLE_READ_ERROR;
}

/// Relative to the login directory; empty for that directory.
QString directoryOf(const VFSCurlData& data)
{
    const QString path = RemotePath::withoutMarker(data.url.path(QUrl::FullyDecoded));
    return path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

FTPSession& FTPSession::of(const FTPCurl& owner)
{
    return owner.mPrivate->session;
}

bool FTPSession::isOverTls(FTPSettings::Protocol protocol)
{
    return protocol == FTPSettings::FTPS_EXPLICIT || protocol == FTPSettings::FTPS_IMPLICIT;
}

FTPSession::~FTPSession()
{
    close();
}

bool FTPSession::open(const FTPSettings& settings)
{
    close();
    mProtocol = settings.ftpProtocol();
    mHandle = curl_easy_init();
    if (!mHandle) {
        return false;
    }
    makeLoop();
    setStallTimeOut(mStallTimeOut);
    curl_easy_setopt(mHandle, CURLOPT_ERRORBUFFER, mErrorText.data());
    curl_easy_setopt(mHandle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(mHandle, CURLOPT_FTPPORT, settings.passiveMode() ? nullptr : "-");
    curl_easy_setopt(mHandle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_USE_EPSV, 0L);
    // By default since libcurl 7.74: a server must not make the client connect to another host.
    curl_easy_setopt(mHandle, CURLOPT_FTP_SKIP_PASV_IP, 1L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_CREATE_MISSING_DIRS, 0L);
    curl_easy_setopt(mHandle, CURLOPT_APPEND, 0L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
    curl_easy_setopt(mHandle, CURLOPT_HEADERFUNCTION, FTPCurl::header);
    curl_easy_setopt(mHandle, CURLOPT_READFUNCTION, FTPCurl::fread);
    curl_easy_setopt(mHandle, CURLOPT_PROGRESSFUNCTION, FTPCurl::progress);
    curl_easy_setopt(mHandle, CURLOPT_WRITEFUNCTION, FTPCurl::fwrite);
    // SFTP sends as much as the buffer holds before it waits for the server; FTP does not wait.
    const bool isSftp = mProtocol == FTPSettings::SFTP;
    curl_easy_setopt(mHandle, CURLOPT_UPLOAD_BUFFERSIZE, isSftp ? SFTP_UPLOAD_BUFFER_BYTES : FTP_UPLOAD_BUFFER_BYTES);
    // A session is idle for as long as its user is; this detects a peer that has gone.
    curl_easy_setopt(mHandle, CURLOPT_TCP_KEEPALIVE, 1L);
    // libcurl keeps each port of a data connection as if it were a name, and looks through all of them after each file.
    curl_easy_setopt(mHandle, CURLOPT_DNS_CACHE_TIMEOUT, 0L);
    TransferLoop::keepAcceptedFromChildren(mHandle);
    setSecurity();
    setTrust(settings);
    return true;
}

/// The password must not travel without it, so it stands on every handle.
void FTPSession::setSecurity()
{
    // Deliberate: applications publish to servers whose certificates nobody has signed.
    curl_easy_setopt(mHandle, CURLOPT_SSL_VERIFYPEER, 0L);
    if (isOverTls(mProtocol)) {
        curl_easy_setopt(mHandle, CURLOPT_SSL_VERIFYHOST, 0L);
        // Otherwise an HTTP proxy gets the URL with user and password, without TLS, and talks to the server itself.
        curl_easy_setopt(mHandle, CURLOPT_HTTPPROXYTUNNEL, 1L);
        curl_easy_setopt(mHandle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_DEFAULT));
        mPeerCheck.watchTls(mHandle, [this] { return isDataConnectionNext(); });
    }
    // Not for SFTP: it does not use TLS, and since 8.20 libcurl would log in anew for each request.
    const auto level = isOverTls(mProtocol) ? CURLUSESSL_ALL : CURLUSESSL_NONE;
    curl_easy_setopt(mHandle, CURLOPT_USE_SSL, static_cast<long>(level));
}

void FTPSession::setTrust(const FTPSettings& settings)
{
    if (mProtocol == FTPSettings::SFTP) {
        QUrl url;
        url.setHost(settings.host(), QUrl::DecodedMode);
        mPeerCheck.setSshOptions(mHandle, url.host(QUrl::FullyEncoded), settings.port());
        mSshLogin.setOptions(mHandle, !settings.pwd().isEmpty());
    } else {
        mPeerCheck.setTlsOptions(mHandle);
    }
}

void FTPSession::setProxy(const QNetworkProxy& proxy)
{
    if (proxy.type() == QNetworkProxy::NoProxy) {
        return;
    }
    setText(mHandle, CURLOPT_PROXY, proxy.hostName());
    curl_easy_setopt(mHandle, CURLOPT_PROXYPORT, static_cast<long>(proxy.port()));
    setText(mHandle, CURLOPT_PROXYUSERNAME, proxy.user());
    setText(mHandle, CURLOPT_PROXYPASSWORD, proxy.password());
    const bool isSocks = proxy.type() == QNetworkProxy::Socks5Proxy;
    const long type = isSocks ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_HTTP;
    curl_easy_setopt(mHandle, CURLOPT_PROXYTYPE, type);
}

void FTPSession::close()
{
    mLoop.reset();
    mDirectory = QString();
    mUrl = QUrl();
    mHasTilde = false;
    mSinceCommand.invalidate();
    mReason = {};
    mIsLent = false;
    if (mHandle) {
        curl_easy_reset(mHandle);
        curl_easy_cleanup(mHandle);
        mHandle = nullptr;
    }
}

void FTPSession::release()
{
    if (mHandle) {
        TransferLoop::detach(mHandle);
        PeerCheck::detach(mHandle);
        curl_easy_setopt(mHandle, CURLOPT_ERRORBUFFER, nullptr);
        mHandle = nullptr;
    }
    close();
}

int FTPSession::perform(VFSCurlData& data)
{
    if (mIsRunning) {
        return CURLE_RECURSIVE_API_CALL;
    }
    if (!mHandle) {
        return NO_SESSION;
    }
    if (mPeerCheck.optionResult() != CURLE_OK) {
        return mPeerCheck.optionResult();
    }
    const QScopedValueRollback<bool> running(mIsRunning, true);
    mReason = {};
    CURLcode code = data.type == VFSCurlData::Upload ? openSource(data.device) : CURLE_OK;
    if (code != CURLE_OK) {
        return code;
    }
    code = run(data);
    return isReconnectionRefused(code, data.type) ? run(data) : code;
}

int FTPSession::performCommands(VFSCurlData& data, const QStringList& commands)
{
    mAcceptances = 0;
    mHasWoken = false;
    if (!mHandle || mIsRunning) {
        return perform(data);
    }
    CurlList list;
    for (const QString& command : commands) {
        curl_slist* const longer = curl_slist_append(list.get(), command.toUtf8().constData());
        if (!longer) {
            return CURLE_OUT_OF_MEMORY;
        }
        static_cast<void>(list.release());
        list.reset(longer);
    }
    curl_easy_setopt(mHandle, CURLOPT_POSTQUOTE, list.get());
    const int code = perform(data);
    curl_easy_setopt(mHandle, CURLOPT_POSTQUOTE, nullptr);
    return code;
}

CURLcode FTPSession::run(VFSCurlData& data)
{
    // Deliberate: a further request. libcurl does not enter a directory in which it believes to be, even if it is gone.
    if (mayHaveLostDirectory(data)) {
        VFSCurlData leave { VFSCurlData::Plain, data.owner, nullptr, data.lastProgress, data.url };
        leave.url.setPath(QString());
        const CURLcode code = runOnce(leave);
        if (code != CURLE_OK) {
            return code;
        }
    }
    return runOnce(data);
}

CURLcode FTPSession::runOnce(VFSCurlData& data)
{
    mProgressThrottle.start(data.lastProgress);
    mReason = {};
    mErrorText.front() = '\0';
    setUrl(data.url);
    const CurlList awakening = wakeUp();
    QElapsedTimer sinceBegin;
    sinceBegin.start();
    setTimeLimit(!mLoop->isQuick());
    mLoop->setLingers(isOverTls(mProtocol) && data.type == VFSCurlData::Upload);
    mLoop->setKeepsReply(mProtocol == FTPSettings::FTP && data.type == VFSCurlData::Upload);
    CURLcode code = RequestOptions::set(mHandle, data);
    if (code == CURLE_OK) {
        if (mProtocol == FTPSettings::SFTP && !mLoop->isConnected()) {
            mSshLogin.offerAgent(mHandle, data.owner->interruption());
        }
        code = takeKeptReply(mLoop->perform(mHandle, data.owner->interruption()));
    }
    RequestOptions::clear(mHandle);
    if (awakening) {
        curl_easy_setopt(mHandle, CURLOPT_QUOTE, nullptr);
    }
    if (!mReason.reply.isEmpty()) {
        mSinceCommand = sinceBegin;
    }
    mReason.detail = code == CURLE_OK ? QString() : QString::fromUtf8(mErrorText.data()).trimmed();
    if (code == CURLE_LOGIN_DENIED && mSshLogin.isAgentSilent()) {
        mReason.detail += QStringLiteral("; the SSH agent does not answer");
    }
    mDirectory = directoryOf(data);
    mIsDirectoryDoubtful = code != CURLE_OK && RequestOptions::hasBody(data.type);
    if (!isConversationInOrder(code)) {
        replaceConnection();
    } else {
        mLoop->setAcknowledgesAtOnce(false); // logged in
    }
    return code;
}

/// A server that ends an upload by a limit of its own closes the data connection and says why. libcurl does
/// not read that when the closed connection is what it meets first.
/// Deliberate: the result is then libcurl's for an upload whose reply it has read.
CURLcode FTPSession::takeKeptReply(CURLcode code)
{
    if (code != CURLE_SEND_ERROR && code != CURLE_RECV_ERROR) {
        return code;
    }
    for (const QString& line : QString::fromStdString(mLoop->keptReply()).split(QStringLiteral("\r\n"))) {
        takeReply(line);
    }
    const QString& reply = mReason.reply;
    if (reply.startsWith(QLatin1String("552"))) {
        return CURLE_REMOTE_DISK_FULL;
    }
    return reply.startsWith(QLatin1Char('5')) ? CURLE_PARTIAL_FILE : code;
}

/// After a pause longer than the time-out for a reply, libcurl takes a request that begins with POSTQUOTE for timed
/// out, as it counts from the last command on. Without such a time-out it makes a new connection before that.
/// The result is to be kept for the request.
CurlList FTPSession::wakeUp()
{
    const bool isAwake
        = mStallTimeOut == 0 || !mSinceCommand.isValid() || !mSinceCommand.hasExpired(mStallTimeOut * 1000LL);
    if (mProtocol == FTPSettings::SFTP || isAwake) {
        return nullptr;
    }
    if (mIsLent) {
        replaceConnection(); // The application may have set CURLOPT_QUOTE.
        return nullptr;
    }
    CurlList command(curl_slist_append(nullptr, "*NOOP")); // The asterisk lets it fail.
    curl_easy_setopt(mHandle, CURLOPT_QUOTE, command.get());
    mHasWoken = true;
    return command;
}

CURL* FTPSession::lend()
{
    setTimeLimit(true);
    mIsLent = true;
    return mHandle;
}

/// Without any limit libcurl (7.88) watches the socket without a pause until a file is closed over SFTP, which pays
/// only when the server is as quick as in the loop.
void FTPSession::setTimeLimit(bool isLimited)
{
    if (mProtocol == FTPSettings::SFTP && mHandle && !mIsLent) {
        curl_easy_setopt(mHandle, CURLOPT_TIMEOUT, isLimited ? NO_TIME_OUT_SECONDS : 0L);
    }
}

/// Commands all have the same one.
void FTPSession::setUrl(const QUrl& url)
{
    if (url != mUrl) {
        mUrl = url;
        const QString path = url.path(QUrl::FullyDecoded);
        QUrl sent = url;
        if (mProtocol == FTPSettings::SFTP) {
            sent.setPath(RemotePath::withOneSlash(path), QUrl::DecodedMode);
        }
        mEncodedUrl = RequestOptions::encodedUrl(sent);
        setTilde(path);
    }
    curl_easy_setopt(mHandle, CURLOPT_URL, mEncodedUrl.constData());
}

/// libcurl over SFTP and servers over FTP take a "~" in front of a path for a home directory, unless "./" stands before
/// it.
void FTPSession::setTilde(const QString& path)
{
    const bool isInFront = RemotePath::withoutMarker(path).startsWith(RemotePath::TILDE);
    const bool isInName = path.section(RemotePath::SLASH, -1).startsWith(RemotePath::TILDE);
    if (!mHasTilde && !isInFront && !isInName) {
        return; // An application may have set these options itself.
    }
    mHasTilde = isInFront || isInName;
    curl_easy_setopt(mHandle, CURLOPT_PATH_AS_IS, isInFront ? 1L : 0L);
    if (!mIsLent) {
        const auto method = isInName ? CURLFTPMETHOD_NOCWD : CURLFTPMETHOD_SINGLECWD;
        curl_easy_setopt(mHandle, CURLOPT_FTP_FILEMETHOD, static_cast<long>(method));
    }
}

bool FTPSession::mayHaveLostDirectory(const VFSCurlData& data) const
{
    const bool isAsked = data.type == VFSCurlData::ExistenceTest && data.url.path().endsWith(QLatin1Char('/'));
    return mProtocol != FTPSettings::SFTP && !mDirectory.isEmpty() && directoryOf(data) == mDirectory
        && (isAsked || mIsDirectoryDoubtful);
}

void FTPSession::makeLoop()
{
    mLoop = std::make_unique<TransferLoop>();
    mLoop->setStallTimeOut(std::chrono::seconds(mStallTimeOut));
    mLoop->setReadsAhead(mProtocol != FTPSettings::FTP);
    mLoop->setStallsWhileConnecting(true);
    // OpenSSH sends a message without an answer after the login and holds the next answer back.
    mLoop->setAcknowledgesAtOnce(mProtocol == FTPSettings::SFTP);
}

void FTPSession::setStallTimeOut(int seconds)
{
    const bool isChanged = seconds != mStallTimeOut;
    mStallTimeOut = seconds;
    if (!mHandle || (!isChanged && seconds == 0)) {
        return; // An application may have set these options itself.
    }
    mLoop->setStallTimeOut(std::chrono::seconds(seconds));
    // For the waits within calls of libcurl, which the loop does not see.
    curl_easy_setopt(mHandle, CURLOPT_SERVER_RESPONSE_TIMEOUT, static_cast<long>(seconds));
    if (isOverTls(mProtocol)) {
        // The TLS handshake of a data connection. libcurl counts from the beginning of the request.
        curl_easy_setopt(mHandle, CURLOPT_CONNECTTIMEOUT, static_cast<long>(seconds) * STALLS_UNTIL_CONNECTED);
    }
    if (mProtocol == FTPSettings::SFTP) {
        curl_easy_setopt(mHandle, CURLOPT_LOW_SPEED_LIMIT, seconds > 0 ? 1L : 0L);
        curl_easy_setopt(mHandle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(seconds));
    }
}

/// libcurl also hands on the facts of a file as if they were lines of the server.
void FTPSession::takeReply(const QString& line)
{
    if (ServerReply::isOne(line)) {
        mReason.reply = line;
        mAcceptances += ServerReply::isAcceptance(line) ? 1 : 0;
    }
}

int FTPSession::acceptedCommands() const
{
    long connections = 0;
    curl_easy_getinfo(mHandle, CURLINFO_NUM_CONNECTS, &connections);
    return connections == 0 && !mHasWoken ? mAcceptances : 0;
}

void FTPSession::replaceConnection()
{
    makeLoop();
    mDirectory = QString();
    mIsDirectoryDoubtful = false;
    mSinceCommand.invalidate();
}

/// libcurl takes a connection for dead that is used again and brings no bytes, as for an empty file, and
/// connects anew. It refuses to do so for each sixth time in a session, and some versions (8.14) every time, as if that
/// were a redirection.
bool FTPSession::isReconnectionRefused(CURLcode code, int type) const
{
    curl_off_t received = 0;
    curl_easy_getinfo(mHandle, CURLINFO_SIZE_DOWNLOAD_T, &received);
    return mProtocol == FTPSettings::SFTP && type != VFSCurlData::Upload && received == 0
        && (code == CURLE_SEND_ERROR || code == CURLE_TOO_MANY_REDIRECTS);
}

bool FTPSession::mayHaveLeftFile() const
{
    curl_off_t sent = 0;
    curl_easy_getinfo(mHandle, CURLINFO_SIZE_UPLOAD_T, &sent);
    return sent > 0 || mReason.reply.startsWith(QLatin1Char('1')); // "150 Opening data connection"
}

bool FTPSession::isDataConnectionNext() const
{
    return ServerReply::opensDataConnection(mReason.reply);
}
