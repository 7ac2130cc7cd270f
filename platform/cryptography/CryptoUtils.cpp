#include "CryptoUtils.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <limits>

namespace {

constexpr int NONCE_BYTES = 12;
constexpr int TAG_BYTES = 16;
constexpr int BITS_PER_BYTE = 8;

struct CipherDeleter
{
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

using Cipher = std::unique_ptr<EVP_CIPHER_CTX, CipherDeleter>;

/// Clears OpenSSL's error queue of this thread: entries left there would be attributed to the next TLS connection.
struct ErrorQueueCleaner
{
    ~ErrorQueueCleaner() { ERR_clear_error(); }
};

unsigned char* bytesOf(QByteArray& array)
{
    return reinterpret_cast<unsigned char*>(array.data());
}

const unsigned char* bytesOf(const QByteArray& array)
{
    return reinterpret_cast<const unsigned char*>(array.constData());
}

qint64 totalSize(std::initializer_list<QByteArray> pieces)
{
    qint64 size = 0;
    for (const QByteArray& piece : pieces) {
        size += piece.size();
    }
    return size;
}

} // namespace

QByteArray CryptoUtils::AES128_encrypt(const QByteArray& data, const QByteArray& key)
{
    return AES128_encrypt({ data }, key);
}

QByteArray CryptoUtils::AES128_encrypt(std::initializer_list<QByteArray> pieces, const QByteArray& key)
{
    const ErrorQueueCleaner cleaner;
    const Cipher cipher(EVP_CIPHER_CTX_new());
    const qint64 size = NONCE_BYTES + totalSize(pieces) + TAG_BYTES;
    if (key.size() != AES128_KEY_BYTES || !cipher || size > std::numeric_limits<int>::max() - TAG_BYTES) {
        return QByteArray();
    }
    QByteArray result(static_cast<int>(size), Qt::Uninitialized);
    unsigned char* out = bytesOf(result);
    if (RAND_bytes(out, NONCE_BYTES) != 1
        || EVP_EncryptInit_ex(cipher.get(), EVP_aes_128_gcm(), nullptr, bytesOf(key), out) != 1) {
        return QByteArray();
    }
    out += NONCE_BYTES;
    int written = 0;
    for (const QByteArray& piece : pieces) {
        if (EVP_EncryptUpdate(cipher.get(), out, &written, bytesOf(piece), static_cast<int>(piece.size())) != 1) {
            return QByteArray();
        }
        out += written;
    }
    if (EVP_EncryptFinal_ex(cipher.get(), out, &written) != 1
        || EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, TAG_BYTES, out) != 1) {
        return QByteArray();
    }
    return result;
}

QByteArray CryptoUtils::AES128_decrypt(const QByteArray& data, const QByteArray& key)
{
    const ErrorQueueCleaner cleaner;
    const Cipher cipher(EVP_CIPHER_CTX_new());
    if (key.size() != AES128_KEY_BYTES || !cipher || data.size() < NONCE_BYTES + TAG_BYTES
        || data.size() > std::numeric_limits<int>::max()) {
        return QByteArray();
    }
    const int size = static_cast<int>(data.size()) - NONCE_BYTES - TAG_BYTES;
    const unsigned char* in = bytesOf(data);
    QByteArray tag = data.right(TAG_BYTES);
    QByteArray plain(size, Qt::Uninitialized);
    int written = 0;
    const bool isGenuine = EVP_DecryptInit_ex(cipher.get(), EVP_aes_128_gcm(), nullptr, bytesOf(key), in) == 1
        && EVP_DecryptUpdate(cipher.get(), bytesOf(plain), &written, in + NONCE_BYTES, size) == 1
        && EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, TAG_BYTES, bytesOf(tag)) == 1
        && EVP_DecryptFinal_ex(cipher.get(), bytesOf(plain) + written, &written) == 1;
    return isGenuine ? plain : QByteArray();
}

QByteArray CryptoUtils::generateRandomKey(int bits)
{
    if (bits <= 0) {
        return QByteArray();
    }
    const ErrorQueueCleaner cleaner;
    QByteArray key(bits / BITS_PER_BYTE, Qt::Uninitialized);
    return RAND_bytes(bytesOf(key), bits / BITS_PER_BYTE) == 1 ? key : QByteArray();
}
