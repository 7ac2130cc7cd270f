#include "Site.h"

#include "Options.h"

#include <tavrel/FTPCurl.h>

#include <foundation/FileUtils.h>

#include <QDir>
#include <QRegularExpression>
#include <QVector>

namespace {

constexpr int SSH_PORT = 22;
const char* const PASSWORD_VARIABLE = "TAVREL_PASSWORD";
const char* const PASSPHRASE_VARIABLE = "TAVREL_PASSPHRASE";
/// "openssh-key-v1" and the cipher "none", with which an OpenSSH key without a passphrase begins.
const char* const WITHOUT_CIPHER = "b3BlbnNzaC1rZXktdjEAAAAABG5vbmU";

/// Of the user, in a folder that exists.
QString knownHostsFile()
{
    const QString folder = QDir::homePath() + QStringLiteral("/.ssh");
    FileUtils::createPrivateFolder(folder); // fails if it exists
    return folder + QStringLiteral("/known_hosts");
}

} // namespace

QString Site::faultFor(const Options& options) const
{
    const QVector<Protocol> protocols { FTP, FTPS_EXPLICIT, FTPS_IMPLICIT, SFTP };
    if (mHost.isEmpty()) {
        return QStringLiteral("%1 names no host").arg(options.value("settings"));
    }
    if (!protocols.contains(mProtocol)) {
        return QStringLiteral("%1 names an unknown protocol").arg(options.value("settings"));
    }
    if (port() < 1) {
        return QStringLiteral("%1 names no port, and this protocol has no usual one").arg(options.value("settings"));
    }
    const bool isRoot = QDir::cleanPath(ftpFolder() + publicSubFolder()).size() <= 1;
    if (options.action() == Options::Remove && options.paths().isEmpty() && isRoot) {
        return QStringLiteral("%1 names no folder; name the paths to remove").arg(options.value("settings"));
    }
    return QString();
}

void Site::readSecrets()
{
    mPassphrase = qEnvironmentVariable(PASSPHRASE_VARIABLE);
    if (pwd().isEmpty()) {
        setPassword(qEnvironmentVariable(PASSWORD_VARIABLE));
    }
}

bool Site::lacksPassword() const
{
    const bool isAnonymous = mUser.isEmpty() && mProtocol != SFTP;
    const bool hasOther = isAnonymous || !mIdentity.isEmpty() || mUsesAgent;
    return pwd().isEmpty() && !hasOther && !qEnvironmentVariableIsSet(PASSWORD_VARIABLE);
}

bool Site::lacksPassphrase() const
{
    if (mIdentity.isEmpty() || qEnvironmentVariableIsSet(PASSPHRASE_VARIABLE)) {
        return false;
    }
    const QByteArray key = FileUtils::readFileContent(mIdentity);
    return key.contains("ENCRYPTED") || (key.contains("OPENSSH PRIVATE KEY") && !key.contains(WITHOUT_CIPHER));
}

bool Site::prepare(FTPCurl& client) const
{
    client.setUseSshAgent(mUsesAgent);
    return client.setStallTimeOut(mStallTimeOut) && client.setTrust(mTrust)
        && (mIdentity.isEmpty() || client.setSshKey(mIdentity, QString(), mPassphrase));
}

PeerTrust Site::defaultTrust() const
{
    PeerTrust trust;
    if (isTls()) {
        trust.setCertificateAuthorities(PeerTrust::System);
    } else if (mProtocol == SFTP) {
        trust.setKnownHosts(knownHostsFile(), PeerTrust::AcceptNew);
    }
    return trust;
}

bool Site::readAccess(const Options& options, QString& fault)
{
    const bool isForTls = options.has("pin") || options.has("ca");
    const bool isForSsh = options.has("known-hosts") || options.has("identity") || options.has("agent");
    if ((isForTls && !isTls()) || (isForSsh && mProtocol != SFTP)) {
        fault = QStringLiteral("--pin and --ca are for FTPS, --known-hosts, --identity and --agent for SFTP, and the "
                               "settings are for %1")
                    .arg(ftpProtocolToString(mProtocol));
        return false;
    }
    mIdentity = options.value("identity");
    mUsesAgent = options.has("agent");
    mStallTimeOut = options.stallTimeOut();
    if (options.has("insecure")) {
        return true;
    }
    mTrust = isForTls || options.has("known-hosts") ? PeerTrust() : defaultTrust();
    if (options.has("ca")) {
        mTrust.setCertificateAuthorities(PeerTrust::File, options.value("ca"));
    }
    for (const QString& pin : options.values("pin")) {
        mTrust.pinPublicKey(pin);
    }
    if (options.has("known-hosts")) {
        mTrust.setKnownHosts(options.value("known-hosts"));
    }
    fault = mTrust.fault();
    return mTrust.isValid();
}

QString Site::howToAccept(const QString& reason) const
{
    // From the beginning, which is a text of libcurl: the reply of a server may follow, and hold anything.
    static const QRegularExpression shown(
        QStringLiteral("^SSL [^:]*: expected [^;]*; the server showed (sha256//[\\w+/]+=*|SHA256:[\\w+/]+)"));
    return howToAcceptKey(shown.match(reason).captured(1));
}

QString Site::howToAcceptKey(const QString& key) const
{
    if (key.startsWith(QLatin1String("sha256//"))) {
        return QStringLiteral("If the operator of the server confirms this key, accept it with --pin %1").arg(key);
    }
    if (key.isEmpty() || mProtocol != SFTP) {
        return QString();
    }
    const QString port = QString::number(FTPSettings::port());
    const QString name = FTPSettings::port() == SSH_PORT ? mHost : QStringLiteral("'[%1]:%2'").arg(mHost, port);
    return QStringLiteral("If the operator of the server confirms this key, remove an old one with ssh-keygen -R %1 "
                          "(-f FILE for --known-hosts FILE), and append it: ssh-keyscan -p %2 %3 >> FILE")
        .arg(name, port, mHost);
}
