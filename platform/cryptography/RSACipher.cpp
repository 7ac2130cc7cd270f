#include "CryptoUtils.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <cstring>
#include <limits>

namespace {

struct OpenSslDeleter
{
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(char* text) const { OPENSSL_free(text); }
    void operator()(unsigned char* bytes) const { OPENSSL_free(bytes); }
};

template <class T> using Owned = std::unique_ptr<T, OpenSslDeleter>;

constexpr int MAX_PEM_BYTES = std::numeric_limits<int>::max(); // of OpenSSL

EVP_PKEY* readKey(const QByteArray& pem)
{
    const Owned<BIO> bio(BIO_new_mem_buf(pem.constData(), static_cast<int>(qMin<qint64>(pem.size(), MAX_PEM_BYTES))));
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* der = nullptr;
    long size = 0;
    if (!bio || PEM_read_bio(bio.get(), &name, &header, &der, &size) != 1) {
        return nullptr;
    }
    const Owned<char> nameOwner(name);
    const Owned<char> headerOwner(header);
    const Owned<unsigned char> derOwner(der);
    const unsigned char* in = der;
    if (std::strcmp(name, PEM_STRING_PUBLIC) == 0) {
        return d2i_PUBKEY(nullptr, &in, size);
    }
    if (std::strcmp(name, PEM_STRING_RSA_PUBLIC) == 0) {
        return d2i_PublicKey(EVP_PKEY_RSA, nullptr, &in, size);
    }
    return nullptr;
}

} // namespace

void CryptoUtils::RSACipher::KeyDeleter::operator()(evp_pkey_st* key) const
{
    EVP_PKEY_free(key);
}

CryptoUtils::RSACipher::RSACipher(int bits)
    : mMinBits(bits)
{
}

CryptoUtils::RSACipher::~RSACipher() = default;

bool CryptoUtils::RSACipher::setPublicKey(const QByteArray& pem)
{
    mKey.reset(readKey(pem));
    ERR_clear_error();
    if (mKey && (EVP_PKEY_base_id(mKey.get()) != EVP_PKEY_RSA || EVP_PKEY_bits(mKey.get()) < mMinBits)) {
        mKey.reset();
    }
    return mKey != nullptr;
}

QByteArray CryptoUtils::RSACipher::encrypt(const QByteArray& data) const
{
    const Owned<EVP_PKEY_CTX> context(mKey ? EVP_PKEY_CTX_new(mKey.get(), nullptr) : nullptr);
    if (!context) {
        return QByteArray();
    }
    const auto* in = reinterpret_cast<const unsigned char*>(data.constData());
    const auto inSize = static_cast<size_t>(data.size());
    auto outSize = static_cast<size_t>(EVP_PKEY_size(mKey.get()));
    QByteArray out(static_cast<int>(outSize), Qt::Uninitialized);
    const bool isEncrypted = EVP_PKEY_encrypt_init(context.get()) == 1
        && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_OAEP_PADDING) == 1
        && EVP_PKEY_CTX_set_rsa_oaep_md(context.get(), EVP_sha1()) == 1
        && EVP_PKEY_CTX_set_rsa_mgf1_md(context.get(), EVP_sha1()) == 1
        && EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(out.data()), &outSize, in, inSize) == 1;
    ERR_clear_error();
    out.truncate(static_cast<int>(outSize));
    return isEncrypted ? out : QByteArray();
}
