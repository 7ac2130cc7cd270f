#include "TlsPeer.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <QCryptographicHash>

namespace {

QByteArray publicKeyOf(const X509* certificate)
{
    unsigned char* bytes = nullptr;
    const int size = certificate ? i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &bytes) : 0;
    QByteArray key(reinterpret_cast<const char*>(bytes), qMax(size, 0)); // NOLINT
    OPENSSL_free(bytes);
    return key;
}

} // namespace

void TlsPeer::watch(void* sslContext)
{
    const auto verify = [](X509_STORE_CTX* chain, void* self) {
        const int result = X509_verify_cert(chain);
        auto& peer = *static_cast<TlsPeer*>(self);
        const QByteArray key = publicKeyOf(X509_STORE_CTX_get0_cert(chain));
        peer.mFingerprint = "sha256//" + QCryptographicHash::hash(key, QCryptographicHash::Sha256).toBase64();
        const int fault = X509_STORE_CTX_get_error(chain);
        peer.mChainFault = fault == X509_V_OK ? "" : X509_verify_cert_error_string(fault);
        return result;
    };
    SSL_CTX_set_cert_verify_callback(static_cast<SSL_CTX*>(sslContext), verify, this);
}

void TlsPeer::forget()
{
    mFingerprint.clear();
    mChainFault.clear();
}
