#pragma once

#include <cryptography/cryptography_export.h>

#include <QByteArray>

#include <initializer_list>
#include <memory>

struct evp_pkey_st;

/**
 * The ciphers of the library, on OpenSSL. Nothing throws: a failure is a null array or false.
 *
 * The functions may be called from any thread; an RSACipher is used by one thread at a time.
 */
class CRYPTOGRAPHY_EXPORT CryptoUtils
{
public:
    /// The length of an AES-128 key in bytes.
    static constexpr int AES128_KEY_BYTES = 16;

    /// Encrypts data with AES-128-GCM, a key of 16 bytes and a fresh random nonce. The result is the nonce (12 bytes),
    /// the ciphertext (as long as data) and the tag (16 bytes). A null array for a key of another length, for more than
    /// INT_MAX - 44 bytes of data, and if OpenSSL fails, such as its random generator.
    static QByteArray AES128_encrypt(const QByteArray& data, const QByteArray& key);
    /// Encrypts the concatenation of pieces without making a copy of it.
    static QByteArray AES128_encrypt(std::initializer_list<QByteArray> pieces, const QByteArray& key);

    /// Decrypts a result of AES128_encrypt(). A null array for any other data, another key, or a key that is not 16
    /// bytes long.
    static QByteArray AES128_decrypt(const QByteArray& data, const QByteArray& key);

    /// Random bytes for a key of that many bits, a multiple of 8; an empty array if bits is not positive or the random
    /// generator fails.
    static QByteArray generateRandomKey(int bits);

    class RSACipher;
};

/// Encrypts with an RSA public key: RSA-OAEP with SHA-1 and MGF1-SHA-1.
class CRYPTOGRAPHY_EXPORT CryptoUtils::RSACipher
{
public:
    /// Accepts keys of at least this many bits.
    explicit RSACipher(int bits);
    ~RSACipher();

    RSACipher(const RSACipher&) = delete;
    RSACipher& operator=(const RSACipher&) = delete;

    /// Sets the key from PEM text, "BEGIN PUBLIC KEY" or "BEGIN RSA PUBLIC KEY". For anything else returns false and
    /// leaves the object without a key.
    bool setPublicKey(const QByteArray& pem);

    /// A null array without a key, or when data is too long for it (86 bytes for a key of 1024 bits).
    QByteArray encrypt(const QByteArray& data) const;

private:
    struct KeyDeleter
    {
        void operator()(evp_pkey_st* key) const;
    };

    int mMinBits;
    std::unique_ptr<evp_pkey_st, KeyDeleter> mKey;
};
