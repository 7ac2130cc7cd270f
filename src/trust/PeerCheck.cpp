#include "PeerCheck.h"

#include "KnownHostsFile.h"

#include <QFile>
#include <QTemporaryFile>

#include <utility>

namespace {

// By number, as libcurl knows it only since 7.84.
constexpr auto SSH_HOST_KEY_FUNCTION = static_cast<CURLoption>(CURLOPTTYPE_FUNCTIONPOINT + 316);
constexpr auto SSH_HOST_KEY_DATA = static_cast<CURLoption>(CURLOPTTYPE_OBJECTPOINT + 317);

constexpr long VERIFY_NAME = 2;

/// libcurl's backends give a key as bytes, or as base64 without a length.
QByteArray bytesOf(const curl_khkey& key)
{
    return key.len > 0 ? QByteArray(key.key, static_cast<int>(key.len)) : QByteArray::fromBase64(key.key);
}

QString fingerprintsOf(const QByteArrayList& keys)
{
    QStringList fingerprints;
    for (const QByteArray& key : keys) {
        fingerprints << QString::fromLatin1(KnownHosts::fingerprint(key));
    }
    return fingerprints.join(QLatin1String(" or "));
}

/// The host as it stands in a URL, which is how libcurl and OpenSSH name it.
QByteArray canonicalHost(const QString& host)
{
    QByteArray name = host.toLower().toLatin1();
    if (name.startsWith('[') && name.endsWith(']')) {
        name = name.mid(1, name.size() - 2);
    }
    return name;
}

} // namespace

PeerCheck::PeerCheck() = default;
PeerCheck::~PeerCheck() = default;

QString PeerCheck::faultUnless(bool isCovered, const char* requirement) const
{
    if (!mTrust.isValid()) {
        return mTrust.fault();
    }
    return mTrust.trustsAnyone() || isCovered ? QString() : QString::fromLatin1(requirement);
}

QString PeerCheck::faultForTls() const
{
    return faultUnless(mTrust.hasAuthorities() || !mTrust.publicKeys().isEmpty(),
        "the trust has neither authorities nor a public key for TLS");
}

QString PeerCheck::faultForSsh() const
{
    return faultUnless(!mTrust.knownHostsFile().isEmpty(), "the trust has no known hosts for SFTP");
}

QString PeerCheck::faultForPlaintext() const
{
    return faultUnless(false, "the trust cannot be applied to a protocol without TLS and SSH");
}

void PeerCheck::forgetPeer()
{
    mTlsPeer.forget();
    mHostKey.clear();
    mExpected.clear();
    mPlainKnownHosts.reset();
    mOptionResult = CURLE_OK;
}

/// For the options without which anyone would be trusted.
template <class Value> void PeerCheck::setOption(CURL* easy, CURLoption option, Value value)
{
    const CURLcode code = curl_easy_setopt(easy, option, value);
    if (mOptionResult == CURLE_OK) {
        mOptionResult = code;
    }
}

void PeerCheck::setTlsOptions(CURL* easy)
{
    forgetPeer();
    if (mTrust.trustsAnyone()) {
        return;
    }
    mExpected = QStringLiteral("a certificate for this host");
    setOption(easy, CURLOPT_SSL_VERIFYHOST, VERIFY_NAME);
    // A proxy that reads the requests would be one more peer.
    curl_easy_setopt(easy, CURLOPT_HTTPPROXYTUNNEL, 1L);
    if (mTrust.hasAuthorities()) {
        const QString file = mTrust.authoritiesFile();
        mExpected += QStringLiteral(" from an authority of ") + (file.isEmpty() ? QStringLiteral("the system") : file);
        setOption(easy, CURLOPT_SSL_VERIFYPEER, 1L);
        if (!file.isEmpty()) {
            setOption(easy, CURLOPT_CAINFO, QFile::encodeName(file).constData());
            curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr); // Some TLS libraries have no such folder.
        }
    }
    const QStringList pins = mTrust.publicKeys();
    if (!pins.isEmpty()) {
        mExpected += QStringLiteral(" with the public key ") + pins.join(QLatin1String(" or "));
        setOption(easy, CURLOPT_PINNEDPUBLICKEY, pins.join(QLatin1Char(';')).toLatin1().constData());
    }
}

void PeerCheck::watchTls(CURL* easy, std::function<bool()> isDataConnection)
{
    mIsDataConnection = std::move(isDataConnection);
    if (TlsResumption::isUsable(curl_version_info(CURLVERSION_NOW)->ssl_version)) {
        curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &PeerCheck::onTlsContext);
        curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, this);
    }
}

CURLcode PeerCheck::onTlsContext(CURL* /*easy*/, void* context, void* self)
{
    PeerCheck& check = *static_cast<PeerCheck*>(self);
    check.mTlsPeer.watch(context);
    if (check.mIsDataConnection) {
        using Role = TlsResumption::Role;
        check.mTlsResumption.watch(context, check.mIsDataConnection() ? Role::Data : Role::Control);
    }
    return CURLE_OK;
}

void PeerCheck::detach(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, nullptr);
    curl_easy_setopt(easy, SSH_HOST_KEY_FUNCTION, nullptr);
    curl_easy_setopt(easy, CURLOPT_SSH_KEYFUNCTION, nullptr);
}

void PeerCheck::setSshOptions(CURL* easy, const QString& host, int port)
{
    forgetPeer();
    mHost = canonicalHost(host);
    mPort = port;
    if (mTrust.trustsAnyone()) {
        curl_easy_setopt(easy, SSH_HOST_KEY_FUNCTION, &PeerCheck::onHostKey);
        curl_easy_setopt(easy, SSH_HOST_KEY_DATA, this);
        return;
    }
    // libcurl asks the server for a key of the type that the file has, but goes wrong with hashed names, and stops
    // reading at a line that it does not know.
    const KnownHosts hosts = KnownHostsFile::read(mTrust.knownHostsFile(), mHost, mPort);
    mPlainKnownHosts = std::make_unique<QTemporaryFile>();
    const bool isWritten
        = mPlainKnownHosts->open() && mPlainKnownHosts->write(hosts.entries()) >= 0 && mPlainKnownHosts->flush();
    const QString file = isWritten ? mPlainKnownHosts->fileName() : mTrust.knownHostsFile();
    setOption(easy, CURLOPT_SSH_KNOWNHOSTS, QFile::encodeName(file).constData());
    setOption(easy, CURLOPT_SSH_KEYFUNCTION, &PeerCheck::onKnownHost);
    setOption(easy, CURLOPT_SSH_KEYDATA, this);
    mExpected = QStringLiteral("the key %1 of %2").arg(fingerprintsOf(hosts.keys()), QString::fromLatin1(hosts.name()));
}

int PeerCheck::onHostKey(void* self, int /*type*/, const char* key, size_t size)
{
    static_cast<PeerCheck*>(self)->mHostKey = QByteArray(key, static_cast<int>(size));
    return CURLKHMATCH_OK;
}

int PeerCheck::onKnownHost(
    CURL* /*easy*/, const curl_khkey* /*known*/, const curl_khkey* shown, curl_khmatch /*match*/, void* self)
{
    PeerCheck& check = *static_cast<PeerCheck*>(self);
    check.mHostKey = bytesOf(*shown);
    return check.accepts(check.mHostKey) ? CURLKHSTAT_FINE : CURLKHSTAT_REJECT;
}

bool PeerCheck::accepts(const QByteArray& key)
{
    const QString file = mTrust.knownHostsFile();
    const KnownHosts hosts = KnownHostsFile::read(file, mHost, mPort);
    KnownHosts::Verdict verdict = hosts.verdictOn(key);
    const bool isAppended = verdict == KnownHosts::Verdict::Unknown && mTrust.unknownHosts() == PeerTrust::AcceptNew;
    if (isAppended) {
        verdict = KnownHostsFile::append(file, mHost, mPort, key);
    }
    const QString name = QString::fromLatin1(hosts.name());
    switch (verdict) {
    case KnownHosts::Verdict::Known:
        return true;
    case KnownHosts::Verdict::Changed:
        mExpected = QStringLiteral("the key %1 of %2 in %3").arg(fingerprintsOf(hosts.keys()), name, file);
        break;
    case KnownHosts::Verdict::Revoked:
        mExpected = QStringLiteral("another key of %1, as this one is revoked in %2").arg(name, file);
        break;
    case KnownHosts::Verdict::Unknown:
        mExpected = isAppended
            ? QStringLiteral("to append %1 to %2, which cannot be written or is locked").arg(name, file)
            : QStringLiteral("a key of %1 in %2, which has none").arg(name, file);
        break;
    }
    return false;
}

QString PeerCheck::fingerprint() const
{
    return QString::fromLatin1(mHostKey.isEmpty() ? mTlsPeer.fingerprint() : KnownHosts::fingerprint(mHostKey));
}

QString PeerCheck::explain(int code) const
{
    const QString shown = fingerprint();
    const bool isRefused = code == CURLE_PEER_FAILED_VERIFICATION || code == CURLE_SSL_PINNEDPUBKEYNOTMATCH;
    // A server that has no host key of an expected type fails before it shows one.
    const bool hasNoKey = mPlainKnownHosts && shown.isEmpty() && (code == CURLE_FAILED_INIT || code == CURLE_SSH);
    if (mExpected.isEmpty() || !(isRefused || hasNoKey || code == CURLE_SSL_CACERT_BADFILE)) {
        return QString();
    }
    return QStringLiteral(": expected ") + mExpected + QStringLiteral("; the server showed ")
        + (shown.isEmpty() ? QStringLiteral("none") : shown) + reason(code);
}

/// Why a certificate was refused, whatever its key is.
QString PeerCheck::reason(int code) const
{
    if (code != CURLE_PEER_FAILED_VERIFICATION || mTlsPeer.fingerprint().isEmpty()) {
        return QString();
    }
    const bool isChainBad = mTrust.hasAuthorities() && !mTlsPeer.chainFault().isEmpty();
    return isChainBad ? QStringLiteral(" (%1)").arg(QString::fromLatin1(mTlsPeer.chainFault()))
                      : QStringLiteral(" (the certificate is for another host)");
}
