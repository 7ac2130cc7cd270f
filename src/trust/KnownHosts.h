#pragma once

#include <QByteArray>
#include <QByteArrayList>

/// The host keys that a file of OpenSSH's format has for one server. A key is the binary form that SSH sends.
class KnownHosts
{
public:
    enum class Verdict { Known, Unknown, Changed, Revoked };

    /// host is in lower case, without brackets.
    KnownHosts(const QByteArray& content, const QByteArray& host, int port);

    /// "host" or "[host]:port".
    const QByteArray& name() const { return mName; }
    const QByteArrayList& keys() const { return mKeys; }

    Verdict verdictOn(const QByteArray& key) const;
    /// The line for a key, with the line break.
    QByteArray entry(const QByteArray& key) const;
    /// All keys with the name in plaintext.
    QByteArray entries() const;

    /// "SHA256:" and the base64 of the SHA-256, as OpenSSH shows a key.
    static QByteArray fingerprint(const QByteArray& key);

private:
    void readLine(QByteArrayList fields, const QByteArray& host);

    QByteArray mName;
    QByteArrayList mKeys;
    QByteArrayList mKeysOfAnyPort;
    QByteArrayList mRevokedKeys;
};
