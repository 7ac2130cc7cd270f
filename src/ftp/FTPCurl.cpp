#include "ErrorSource.h"
#include "FTPCurlPrivate.h"
#include "SystemProxy.h"

#include <init/warnIfNotInitialized.h>

#include <foundation/raiseError.h>

namespace {

constexpr int MAX_PORT = 65535;
constexpr unsigned int FIRST_VERSION_WITH_TLS_IN_ACTIVE_MODE = 0x080500;

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

} // namespace

FTPCurl::FTPCurl(QObject* parent)
    : Threadable(parent)
    , FTPOptions(*this)
{
    Errorable::sErrorMessages.insert(ErrorableCode::of(INTERRUPTED), QStringLiteral("Interruption"));
    warnIfNotInitialized(ERROR_SOURCE, "FTPCurl", __LINE__);
}

FTPCurl::~FTPCurl() = default;

bool FTPCurl::initHost(const FTPSettings& settings)
{
    if (!mPrivate->checkIdle()) {
        return false;
    }
    close();
    mPrivate->session.close(); // one that an interrupted call has left
    mPrivate->setSettings(settings);
    mPrivate->isMlsdRefused = false;
    if (settings.port() > MAX_PORT) {
        // Deliberate: settings take 65536, but the URL would go without a port, and so user and password to the
        // default one.
        return mPrivate->refuse(
            QStringLiteral("initHost: port %1 is above %2").arg(settings.port()).arg(MAX_PORT), __LINE__);
    }
    if (!mPrivate->checkMode()) {
        return false;
    }
    if (!mPrivate->checkTrust(settings.ftpProtocol())) {
        return false;
    }
    if (!mPrivate->session.open(settings)) {
        return mPrivate->setResult(CURLE_FAILED_INIT, QStringLiteral("Can't init %1").arg(settings.host()));
    }
    if (isInterruptionRequested()) {
        return mPrivate->stopInterrupted(__LINE__);
    }
    const std::optional<QNetworkProxy> proxy = SystemProxy::lookUp(generateUrl(QString()), interruption());
    if (!proxy) {
        return mPrivate->stopInterrupted(__LINE__);
    }
    mPrivate->session.setProxy(*proxy);
    mPrivate->initialized = true;
    return true;
}

void FTPCurl::close()
{
    if (mPrivate->initialized && mPrivate->checkIdle()) {
        mPrivate->session.close();
        mPrivate->initialized = false;
        clearError();
    }
}

void FTPCurl::clearProperties()
{
    if (mPrivate->checkIdle()) {
        mPrivate->initialized = false;
        // Deliberate: not cleaned up, as the application may have taken it over.
        mPrivate->session.release();
        clearError();
    }
}

bool FTPCurl::isValid()
{
    if (!mPrivate->initialized) {
        raiseError(*this, NOT_INITIALIZED, "Error::NOT_INITIALIZED", { ERROR_SOURCE, __LINE__ });
    }
    return mPrivate->initialized;
}

CURL* FTPCurl::curlhandle() const
{
    return mPrivate->session.lend();
}

const FTPSettings& FTPCurl::ftpSettings() const
{
    return mPrivate->settings;
}

QUrl FTPCurl::generateUrl(const QString& path) const
{
    return mPrivate->url(mPrivate->path(path));
}

QString FTPCurl::canonicalizedFilePath(const QString& path) const
{
    return mPrivate->path(path).canonical();
}

QString FTPCurl::canonicalizedRelativeFilePath(const QString& path) const
{
    return mPrivate->path(path).relative();
}

void FTPCurl::appendInfoServer(const QString& info)
{
    Q_EMIT infoServer(info);
}

void FTPCurl::handleCurlError(CURLcode code, const QString& context, VFSCurlData* /*data*/)
{
    mPrivate->setResult(static_cast<int>(code), context);
}

bool FTPCurl::Private::checkMode()
{
    const bool isProtected = settings.passiveMode() || !FTPSession::isOverTls(settings.ftpProtocol())
        || curl_version_info(CURLVERSION_NOW)->version_num >= FIRST_VERSION_WITH_TLS_IN_ACTIVE_MODE;
    return isProtected
        || refuse(QStringLiteral("initHost: libcurl %1 does not protect data connections of FTPS in active mode")
                      .arg(QLatin1String(curl_version_info(CURLVERSION_NOW)->version)),
            __LINE__);
}

RemotePath FTPCurl::Private::path(const QString& path) const
{
    const bool isSftp = settings.ftpProtocol() == FTPSettings::SFTP;
    return RemotePath(path, { settings.ftpFolder() + settings.publicSubFolder(), isSftp || forceLeadingSlash });
}

void FTPCurl::Private::setSettings(const FTPSettings& newSettings)
{
    settings = newSettings;
    baseUrl = QUrl();
    baseUrl.setScheme(schemeOf(settings.ftpProtocol()));
    baseUrl.setHost(settings.host(), QUrl::DecodedMode);
    baseUrl.setPort(settings.port());
    baseUrl.setUserName(settings.user(), QUrl::DecodedMode);
    baseUrl.setPassword(settings.pwd(), QUrl::DecodedMode);
}

QUrl FTPCurl::Private::url(const RemotePath& path) const
{
    QUrl url = baseUrl;
    url.setPath(path.canonical(), QUrl::DecodedMode);
    return url;
}
