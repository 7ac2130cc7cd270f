// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include <tavrel/FTPCurl.h>

#include "CommandTexts.h"
#include "ErrorSource.h"
#include "RemotePath.h"

#include <init/raiseError.h>
#include <init/warnIfNotInitialized.h>
#include <transfer/TransferLoop.h>

#include <QNetworkProxyFactory>

namespace {

constexpr long FTP_UPLOAD_BUFFER_BYTES = 128L * 1024;
constexpr long SFTP_UPLOAD_BUFFER_BYTES = 2L * 1024 * 1024;

QString schemeOf(FTPSettings::Protocol protocol)
{
    switch (protocol) {
    case FTPSettings::FTP:
    case FTPSettings::FTPS_EXPLICIT:
        return QStringLiteral("ftp");
    case FTPSettings::FTPS_IMPLICIT:
        return QStringLiteral("ftps");
    case FTPSettings::SFTP:
        return QStringLiteral("sftp");
    }
    return QString();
}

void setText(CURL* easy, CURLoption option, const QString& text)
{
    curl_easy_setopt(easy, option, text.toUtf8().constData());
}

void setProxy(CURL* easy, const QUrl& url)
{
    const QNetworkProxyQuery query(url, QNetworkProxyQuery::UrlRequest);
    const QNetworkProxy proxy = QNetworkProxyFactory::systemProxyForQuery(query).value(0);
    if (proxy.type() == QNetworkProxy::NoProxy) {
        return;
    }
    setText(easy, CURLOPT_PROXY, proxy.hostName());
    curl_easy_setopt(easy, CURLOPT_PROXYPORT, static_cast<long>(proxy.port()));
    setText(easy, CURLOPT_PROXYUSERNAME, proxy.user());
    setText(easy, CURLOPT_PROXYPASSWORD, proxy.password());
    const bool isSocks = proxy.type() == QNetworkProxy::Socks5Proxy;
    const long type = isSocks ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_HTTP;
    curl_easy_setopt(easy, CURLOPT_PROXYTYPE, type);
}

void setSecurity(CURL* easy, FTPSettings::Protocol protocol)
{
    // Deliberate: applications publish to servers whose certificates nobody has signed.
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
    if (protocol == FTPSettings::FTP) {
        curl_easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_NONE));
        return;
    }
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_DEFAULT));
    curl_easy_setopt(easy, CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
}

/// Also for a code that is none of libcurl's.
QString textOf(int code)
{
    return QString::fromUtf8(code < 0 ? "Unknown error" : curl_easy_strerror(static_cast<CURLcode>(code)));
}

} // namespace

FTPCurl::FTPCurl(QObject* parent)
    : Threadable(parent)
{
    Errorable::sErrorMessages.insert(ErrorableCode::of(INTERRUPTED), QStringLiteral("Interruption"));
    warnIfNotInitialized(ERROR_SOURCE, "FTPCurl", __LINE__);
}

FTPCurl::~FTPCurl()
{
    releaseHandle();
}

bool FTPCurl::initHost(const FTPSettings& settings)
{
    close();
    releaseHandle(); // one that an interrupted call has left
    mFtpSettings = settings;
    mHandle = curl_easy_init();
    if (!mHandle) {
        handleCurlError(CURLE_FAILED_INIT, QStringLiteral("Can't init %1").arg(settings.host()), nullptr);
        return false;
    }
    mLoop = std::make_unique<TransferLoop>();
    setTransferOptions();
    if (isInterruptionRequested()) {
        return stopInterrupted(__LINE__);
    }
    curl_easy_setopt(mHandle, CURLOPT_FTPPORT, settings.passiveMode() ? nullptr : "-");
    setProxy(mHandle, generateUrl(QString()));
    if (CommandTexts::knows(settings.ftpProtocol())) {
        setSecurity(mHandle, settings.ftpProtocol());
    }
    mInitialized = true;
    return true;
}

void FTPCurl::setTransferOptions()
{
    curl_easy_setopt(mHandle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(mHandle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_USE_EPSV, 0L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_CREATE_MISSING_DIRS, 0L);
    curl_easy_setopt(mHandle, CURLOPT_APPEND, 0L);
    curl_easy_setopt(mHandle, CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_SINGLECWD));
    curl_easy_setopt(mHandle, CURLOPT_HEADERFUNCTION, header);
    curl_easy_setopt(mHandle, CURLOPT_READFUNCTION, fread);
    curl_easy_setopt(mHandle, CURLOPT_PROGRESSFUNCTION, progress);
    curl_easy_setopt(mHandle, CURLOPT_WRITEFUNCTION, fwrite);
    // SFTP sends as much as the buffer holds before it waits for the server; FTP does not wait.
    const bool isSftp = mFtpSettings.ftpProtocol() == FTPSettings::SFTP;
    curl_easy_setopt(mHandle, CURLOPT_UPLOAD_BUFFERSIZE, isSftp ? SFTP_UPLOAD_BUFFER_BYTES : FTP_UPLOAD_BUFFER_BYTES);
    // A session is idle for as long as its user is; this tells a peer that has gone.
    curl_easy_setopt(mHandle, CURLOPT_TCP_KEEPALIVE, 1L);
}

void FTPCurl::close()
{
    if (mInitialized) {
        releaseHandle();
        mInitialized = false;
        clearError();
    }
}

void FTPCurl::releaseHandle()
{
    mLoop.reset();
    if (mHandle) {
        curl_easy_reset(mHandle);
        curl_easy_cleanup(mHandle);
        mHandle = nullptr;
    }
}

void FTPCurl::clearProperties()
{
    mInitialized = false;
    if (mHandle) {
        // Deliberate: not cleaned up, as the application may have taken it over.
        TransferLoop::leave(mHandle);
        mHandle = nullptr;
    }
    mLoop.reset();
    clearError();
}

bool FTPCurl::isValid()
{
    if (!mInitialized) {
        raiseError(*this, NOT_INITIALIZED, "Error::NOT_INITIALIZED", { ERROR_SOURCE, __LINE__ });
    }
    return mInitialized;
}

QUrl FTPCurl::generateUrl(const QString& path) const
{
    QUrl url;
    url.setScheme(schemeOf(mFtpSettings.ftpProtocol()));
    url.setHost(mFtpSettings.host(), QUrl::DecodedMode);
    url.setPort(mFtpSettings.port());
    url.setUserName(mFtpSettings.user(), QUrl::DecodedMode);
    url.setPassword(mFtpSettings.pwd(), QUrl::DecodedMode);
    url.setPath(canonicalizedFilePath(path), QUrl::DecodedMode);
    return url;
}

QString FTPCurl::canonicalizedFilePath(const QString& path) const
{
    const bool isSftp = mFtpSettings.ftpProtocol() == FTPSettings::SFTP;
    const QString base = mFtpSettings.ftpFolder() + mFtpSettings.publicSubFolder();
    return canonicalRemotePath(path, base, isSftp || mForceLeadingSlash);
}

QString FTPCurl::canonicalizedRelativeFilePath(const QString& path) const
{
    return relativeRemotePath(canonicalizedFilePath(path));
}

void FTPCurl::appendInfoServer(const QString& info)
{
    Q_EMIT infoServer(info);
}

void FTPCurl::handleCurlError(CURLcode code, const QString& context, VFSCurlData* /*data*/)
{
    handleResult(static_cast<int>(code), context);
}

bool FTPCurl::handleResult(int code, const QString& context)
{
    if (code == CURLE_OK) {
        clearError();
        return true;
    }
    const QString message = context + QStringLiteral("  CURL error : ") + textOf(code)
        + QStringLiteral(" (%1)").arg(QString::number(code));
    raiseErrorValue<CURLcode>(*this, code, "code", { ERROR_SOURCE, __LINE__ }, message);
    return false;
}

bool FTPCurl::refuse(const QString& message, int line)
{
    raiseError(*this, FUNC_PARAM_ERROR, "FUNC_PARAM_ERROR", { ERROR_SOURCE, line }, message);
    return false;
}

bool FTPCurl::checkPath(const QString& path, const char* operation, int line)
{
    if (isPathSendable(canonicalizedFilePath(path))) {
        return true;
    }
    return refuse(QStringLiteral("%1: the path holds a line break or a NUL").arg(QLatin1String(operation)), line);
}

bool FTPCurl::accepts(const QString& path, const char* operation, const char* messageWhenEmpty, int line)
{
    if (!isValid()) {
        return false;
    }
    if (path.isEmpty()) {
        return refuse(QLatin1String(messageWhenEmpty), line);
    }
    return checkPath(path, operation, line);
}

bool FTPCurl::stopInterrupted(int line)
{
    raiseError(*this, INTERRUPTED, "INTERRUPTED", { ERROR_SOURCE, line });
    return false;
}

CommandTexts FTPCurl::commandTexts(const char* signature) const
{
    const FTPSettings::Protocol protocol = mFtpSettings.ftpProtocol();
    if (!CommandTexts::knows(protocol)) {
        qFatal("%s: Unknown protocol", signature);
    }
    return CommandTexts(protocol);
}
