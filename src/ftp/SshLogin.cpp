#include "SshLogin.h"

#include <QFile>
#include <QFileInfo>

namespace {

constexpr long PASSWORD = CURLSSH_AUTH_PASSWORD | CURLSSH_AUTH_KEYBOARD;

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

void SshLogin::setOptions(CURL* easy)
{
    const bool hasKey = !mPrivateKey.isEmpty();
    mHasFallBack = mUsesAgent;
    if (!hasKey && !mUsesAgent) {
        return;
    }
    // Without a file libcurl would take a key from the home or the current folder.
    const long key = hasKey ? CURLSSH_AUTH_PUBLICKEY : CURLSSH_AUTH_NONE;
    const long next = mUsesAgent ? CURLSSH_AUTH_AGENT : PASSWORD;
    curl_easy_setopt(easy, CURLOPT_SSH_AUTH_TYPES, key | next);
    setPath(easy, CURLOPT_SSH_PRIVATE_KEYFILE, mPrivateKey);
    setPath(easy, CURLOPT_SSH_PUBLIC_KEYFILE, mPublicKey);
    curl_easy_setopt(easy, CURLOPT_KEYPASSWD, mPassphrase.toUtf8().constData());
}

bool SshLogin::fallBack(CURL* easy)
{
    if (!mHasFallBack) {
        return false;
    }
    mHasFallBack = false;
    curl_easy_setopt(easy, CURLOPT_SSH_AUTH_TYPES, PASSWORD);
    return true;
}
