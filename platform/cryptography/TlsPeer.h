#pragma once

#include <QByteArray>

/**
 * Records which certificate the peer of a TLS connection shows, whether it is accepted or not.
 *
 * The object outlives the connections. Used by one thread at a time.
 */
class TlsPeer
{
public:
    /// To be called with the SSL_CTX of each connection before its handshake; see TlsResumption::isUsable().
    void watch(void* sslContext);
    void forget();

    /// "sha256//" and the base64 of the SHA-256 of the public key, of the last full handshake; empty before.
    const QByteArray& fingerprint() const { return mFingerprint; }
    /// The fault that OpenSSL found in the chain of certificates, such as "self-signed certificate"; empty for none.
    const QByteArray& chainFault() const { return mChainFault; }

private:
    QByteArray mFingerprint;
    QByteArray mChainFault;
};
