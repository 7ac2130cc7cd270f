#include <tavrel/PeerTrust.h>

#include <QByteArray>

namespace {

const QString PIN_PREFIX = QStringLiteral("sha256//");
constexpr int SHA256_BYTES = 32;

/// libcurl compares the text, so there is only one way to write a pin.
bool isPin(const QString& pin)
{
    const QByteArray base64 = pin.mid(PIN_PREFIX.size()).toLatin1();
    const QByteArray digest = QByteArray::fromBase64(base64);
    return pin.startsWith(PIN_PREFIX) && digest.size() == SHA256_BYTES && digest.toBase64() == base64;
}

} // namespace

struct PeerTrust::Data : QSharedData
{
    bool hasAuthorities = false;
    QString authoritiesFile;
    QStringList publicKeys;
    QString knownHostsFile;
    UnknownHosts unknownHosts = RefuseUnknown;
    QString fault;
};

PeerTrust::PeerTrust()
    : mData(new Data)
{
}

PeerTrust::PeerTrust(const PeerTrust& other) = default;
PeerTrust& PeerTrust::operator=(const PeerTrust& other) = default;
PeerTrust::~PeerTrust() = default;

bool PeerTrust::refuse(const QString& fault)
{
    mData->fault = fault;
    return false;
}

bool PeerTrust::setCertificateAuthorities(Authorities authorities, const QString& path)
{
    if ((authorities == File) == path.isEmpty()) {
        return refuse(QStringLiteral("setCertificateAuthorities: a path is needed for File, and for File only"));
    }
    mData->hasAuthorities = true;
    mData->authoritiesFile = path;
    return true;
}

bool PeerTrust::pinPublicKey(const QString& pin)
{
    const QStringList pins = pin.split(QLatin1Char(';'));
    for (const QString& one : pins) {
        if (!isPin(one)) {
            return refuse(QStringLiteral("pinPublicKey: not \"sha256//\" and 32 bytes in base64: %1").arg(one));
        }
    }
    mData->publicKeys += pins;
    return true;
}

bool PeerTrust::setKnownHosts(const QString& path, UnknownHosts unknownHosts)
{
    if (path.isEmpty()) {
        return refuse(QStringLiteral("setKnownHosts: path is empty"));
    }
    mData->knownHostsFile = path;
    mData->unknownHosts = unknownHosts;
    return true;
}

bool PeerTrust::trustsAnyone() const
{
    return isValid() && !hasAuthorities() && publicKeys().isEmpty() && knownHostsFile().isEmpty();
}

bool PeerTrust::isValid() const
{
    return mData->fault.isEmpty();
}

QString PeerTrust::fault() const
{
    return mData->fault;
}

bool PeerTrust::hasAuthorities() const
{
    return mData->hasAuthorities;
}

QString PeerTrust::authoritiesFile() const
{
    return mData->authoritiesFile;
}

QStringList PeerTrust::publicKeys() const
{
    return mData->publicKeys;
}

QString PeerTrust::knownHostsFile() const
{
    return mData->knownHostsFile;
}

PeerTrust::UnknownHosts PeerTrust::unknownHosts() const
{
    return mData->unknownHosts;
}
