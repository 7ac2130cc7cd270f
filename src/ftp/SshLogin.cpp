#include "SshLogin.h"

#include "SshAgent.h"

#include <QFile>
#include <QFileInfo>

namespace {

constexpr unsigned long KEY = CURLSSH_AUTH_PUBLICKEY;
constexpr unsigned long PASSWORD = CURLSSH_AUTH_PASSWORD;
constexpr unsigned long AGENT = CURLSSH_AUTH_AGENT;

bool isReadableFile(const QString& path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isReadable();
}

void setPath(CURL* easy, CURLoption option, const QString& path)
{
    if (!path.isEmpty()) {
        curl_easy_setopt(easy, option, QFile::encodeName(path).constData());
    }
}

void setTypes(CURL* easy, unsigned long types)
{
    curl_easy_setopt(easy, CURLOPT_SSH_AUTH_TYPES, static_cast<long>(types));
}

} // namespace

QString SshLogin::setKey(const QString& privateKey, const QString& publicKey, const QString& passphrase)
{
    if (!isReadableFile(privateKey)) {
        return QStringLiteral("the private key \"%1\" cannot be read").arg(privateKey);
    }
    if (!publicKey.isEmpty() && !isReadableFile(publicKey)) {
        return QStringLiteral("the public key \"%1\" cannot be read").arg(publicKey);
    }
    mPrivateKey = privateKey;
    mPublicKey = publicKey;
    mPassphrase = passphrase;
    return QString();
}

void SshLogin::clearKey()
{
    mPrivateKey.clear();
    mPublicKey.clear();
    mPassphrase.clear();
}

void SshLogin::setOptions(CURL* easy, bool hasPassword)
{
    const bool hasKey = !mPrivateKey.isEmpty();
    mOffersAgent = mUsesAgent;
    mIsAgentSilent = false;
    mTypes = static_cast<unsigned long>(CURLSSH_AUTH_ANY) & ~AGENT;
    if (mUsesAgent && !hasPassword) {
        mTypes &= ~PASSWORD;
    }
    if (mUsesAgent && !hasKey) {
        mTypes &= ~KEY; // libcurl would take one from the home or the current folder.
    }
    setTypes(easy, mTypes);
    if (hasKey || mUsesAgent) {
        setPath(easy, CURLOPT_SSH_PRIVATE_KEYFILE, mPrivateKey);
        setPath(easy, CURLOPT_SSH_PUBLIC_KEYFILE, mPublicKey);
        curl_easy_setopt(easy, CURLOPT_KEYPASSWD, mPassphrase.toUtf8().constData());
    }
}

void SshLogin::offerAgent(CURL* easy, const std::shared_ptr<Interruption>& interruption)
{
    if (mOffersAgent) {
        mIsAgentSilent = !SshAgent::answers(interruption);
        setTypes(easy, mIsAgentSilent ? mTypes : mTypes | AGENT);
    }
}
