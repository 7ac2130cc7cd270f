#pragma once

#include <tavrel/HTTPCurl.h>
#include <tavrel/tavrel_export.h>

#include <QScopedPointer>

/**
 * An HTTPCurl whose postForm() encrypts the form and decrypts the reply, for a cooperating service. postHttp(),
 * postFormRaw() and GET requests send in plaintext; the replies of the two posts are decrypted all the same.
 *
 * Call handshake() once: it fetches the RSA public key of the service and shares an AES key under it. Then use
 * postForm(). When the service has lost the session, it repeats the handshake and the post, once. The protocol and its
 * limits are described in docs/SECURED-PROTOCOL.md.
 *
 * The AES key is made once per installation and kept in keyFilePath(), readable by its owner alone. The permissions of
 * a file that exists are not changed. One that is a link or belongs to another user is not used: the object logs that
 * and has a key of its own, which is not saved. All services share it, so each of them can decrypt the recorded traffic
 * of the others. Failures are left in error() as with HTTPCurl, or as a value of this class's Error. After a failure
 * response() holds the reply as it came, except one that could not be decrypted or in which the service reports an
 * error, after which it is empty.
 *
 * While the crypted mode is off, everything works as with HTTPCurl. Cancellation and threads: as with HTTPCurl. Set the
 * key path before the first object is made.
 */
class TAVREL_EXPORT SecuredHTTPCurl : public HTTPCurl
{
    Q_OBJECT

public:
    /// The numbers are part of the interface.
    enum Error {
        NO_SESSION = 0, ///< the service no longer knows the key
        SECURED_PROTOCOL_ERROR_LAMBDA = 1, ///< the service refused a request, or its reply is malformed
        SECURED_PROTOCOL_ERROR_UPLOAD = 2, ///< the service refused a handshake because of its size
        CRYPTO_FORMAT = 3, ///< the reply could not be decrypted, or exceeds setLimitPayload()
        PUBLIC_KEY_ERROR = 4, ///< the service sent no usable public key
        PRIVATE_KEY_ERROR = 5, ///< the service did not prove that it has the AES key
    };

    /// The prefix of the key file's path; the default "." gives the hidden file ".aes_key.txt".
    static QString KEYPATH;

    /// Loads the AES key, or makes and saves one.
    explicit SecuredHTTPCurl(QObject* parent = nullptr);
    ~SecuredHTTPCurl() override;

    /// Shares the AES key with the service at url. True without a request while the crypted mode is off.
    bool handshake(const QString& url);

    /// Encrypts json and fileData and decrypts the reply; otherwise as in HTTPCurl. Repeated once after a lost session.
    /// A file of 2 GiB or more, which only Qt 6 can hold, is refused with BAD_PARAMETER.
    ///@{
    bool postForm(const QString& url, const QJsonObject& json);
    bool postForm(const QString& url, const QJsonObject& json, const QByteArray& fileData, bool binary);
    ///@}

    /// Refuses replies whose payload is announced larger than this, in bytes, with CRYPTO_FORMAT. 0 and less, the
    /// default, means no limit: the payload then has the announced length, up to 2 GiB. Bytes that did not arrive are
    /// zeros and take memory only when they are touched. If there is not enough memory, a post fails with libcurl's
    /// CURLE_OUT_OF_MEMORY.
    void setLimitPayload(qint64 bytes);

    /// Turns the protocol on (the default) or off.
    void setCryptedMode(bool on);
    /// While on, posts and replies pass in plaintext; handshake() sets it for its requests and leaves it off.
    void setHandshakeMode(bool on);

    /// Encrypts the envelope around data; a null array without a valid key, or for more than INT_MAX - 51 bytes.
    QByteArray encrypt(const QByteArray& data) const;
    /// Decrypts to an envelope; a null array if data cannot be decrypted. The flag has no effect.
    QByteArray decrypt(const QByteArray& data, bool flag) const;

    /// Sets the prefix of the key file's path. No separator is added: a folder ends with one.
    static void setKeypath(const QString& path);
    static QString keyFilePath(); ///< KEYPATH and "aes_key.txt".
    /// Removes the key file; the next object makes a new key, existing ones keep theirs.
    static bool clearLocalKey();

    /// The two steps of handshake(), which sets the handshake mode for them.
    ///@{
    bool getPublicKey(const QString& url);
    bool shareAESKey(const QString& url);
    ///@}
    /// Validates response(), the reply to a handshake request.
    bool checkResponse();
    /// Decrypts a reply in place. On failure, empties data and sets error(). A payload that is shorter than its length
    /// field is padded with zeros.
    bool checkSessionOkAndDecrypt(QByteArray& data);
    /// Reloads the AES key, or makes and saves one. A key that is not 16 bytes long is
    /// logged and kept. Does nothing while the crypted mode is off.
    void initAESKey();
    /// Writes one line to the log.
    void printError(const QString& message) const;

protected:
    QByteArray& preProcess(QByteArray& data, bool base64) override;
    bool postProcess(QByteArray& response) override;

private:
    struct State;

    bool exchangeKeys(const QString& url);
    bool decryptReply(QByteArray& data);
    bool isCrypting() const;
    void raise(Error error, const char* name, int line, const QString& message = QString());
    void raiseServerError(const QJsonObject& reply, const QByteArray& raw);
    QJsonObject replyData() const;

    static const QString sNoSessionCode;

    const QScopedPointer<State> mState;
};
