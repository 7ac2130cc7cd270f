#include <tavrel/SecuredHTTPCurl.h>

#include "SecuredEnvelope.h"

#include <cryptography/CryptoUtils.h>
#include <foundation/FileUtils.h>
#include <foundation/SystemFiles.h>
#include <foundation/raiseError.h>
#include <logging/LogUtils.h>

#include <QFile>
#include <QScopedValueRollback>

#include <limits>
#include <new>

namespace {

constexpr int RSA_KEY_BITS = 1024;
constexpr int AES_KEY_BITS = 128;
/// Envelope and encryption count bytes in 32 bits, and need some themselves.
constexpr qint64 MAX_FILE_BYTES = std::numeric_limits<qint32>::max() - 64;

const QString SUCCESS = QStringLiteral("success");
const QString DATA = QStringLiteral("data");
const QString UPLOAD_LIMIT = QStringLiteral("upload_max_filesize");

void logWarning(const char* function, int line, const QString& text)
{
    LogUtils log(LogUtils::Warning, __FILE__, function, line);
    log << text;
    log.checkSpacing();
}

/// The content of the key file. A file that another user may have placed is one whose key that user knows.
QByteArray readKey(const QString& path)
{
    // Deliberate: the permissions of a file that exists are its owner's decision.
    QFile file(path);
    if (SystemFiles::openOwn(file, QIODevice::ReadOnly)) {
        return file.readAll();
    }
    if (!SystemFiles::isForeign(path)) {
        return QByteArray();
    }
    logWarning("initAESKey", __LINE__, QStringLiteral("AES key not used: a link, or of another user: ") + path);
    return CryptoUtils::generateRandomKey(AES_KEY_BITS);
}

} // namespace

QString SecuredHTTPCurl::KEYPATH = QStringLiteral(".");
const QString SecuredHTTPCurl::sNoSessionCode = QStringLiteral("#NO_SESSION#");

struct SecuredHTTPCurl::State
{
    CryptoUtils::RSACipher rsaCipher { RSA_KEY_BITS };
    QByteArray aesKey;
    QJsonDocument lastResponse;
    bool handshakeMode = false;
    bool cryptedMode = true;
    qint64 limitPayload = 0;
};

SecuredHTTPCurl::SecuredHTTPCurl(QObject* parent)
    : HTTPCurl(parent)
    , mState(new State)
{
    initAESKey();
    sErrorMessages.insert(ErrorableCode::of(CRYPTO_FORMAT), QStringLiteral("Crypto WRONG FORMAT"));
}

SecuredHTTPCurl::~SecuredHTTPCurl() = default;

void SecuredHTTPCurl::setCryptedMode(bool on)
{
    mState->cryptedMode = on;
}

void SecuredHTTPCurl::setHandshakeMode(bool on)
{
    mState->handshakeMode = on;
}

void SecuredHTTPCurl::setLimitPayload(qint64 bytes)
{
    mState->limitPayload = bytes;
}

bool SecuredHTTPCurl::isCrypting() const
{
    return mState->cryptedMode && !mState->handshakeMode;
}

void SecuredHTTPCurl::initAESKey()
{
    if (!mState->cryptedMode) {
        return;
    }
    const QString path = keyFilePath();
    if (!QFile::exists(path)) {
        mState->aesKey = CryptoUtils::generateRandomKey(AES_KEY_BITS);
        if (!mState->aesKey.isEmpty()) {
            FileUtils::createPrivateFile(path, mState->aesKey);
        }
    }
    // Also after the key was made: if another process was faster, its key is the one to share.
    if (QFile::exists(path)) {
        mState->aesKey = readKey(path);
    }
    if (mState->aesKey.size() != CryptoUtils::AES128_KEY_BYTES) {
        // Deliberate: a key of another length is neither refused nor replaced; the service will refuse it.
        logWarning("initAESKey", __LINE__, QStringLiteral("Wrong AES key generated"));
    }
}

void SecuredHTTPCurl::setKeypath(const QString& path)
{
    KEYPATH = path;
}

QString SecuredHTTPCurl::keyFilePath()
{
    // Deliberate: joined without a separator, so that the prefix may be part of the name.
    return KEYPATH + QStringLiteral("aes_key.txt");
}

bool SecuredHTTPCurl::clearLocalKey()
{
    return QFile::remove(keyFilePath());
}

bool SecuredHTTPCurl::handshake(const QString& url)
{
    if (!mState->cryptedMode) {
        return true;
    }
    return checkIdle() && exchangeKeys(url);
}

bool SecuredHTTPCurl::exchangeKeys(const QString& url)
{
    mState->handshakeMode = false; // A mode that the application has set ends with the handshake, too.
    const QScopedValueRollback<bool> handshaking(mState->handshakeMode, true);
    return checkUrl(url) && getPublicKey(url) && shareAESKey(url);
}

bool SecuredHTTPCurl::getPublicKey(const QString& url)
{
    // The post of the base class: the recovery of this class would call the handshake again.
    const QJsonObject request { { QStringLiteral("handshake"), QStringLiteral("get_pubkey") } };
    if (!HTTPCurl::postForm(url, request) || !checkResponse()) {
        return false;
    }
    const QString key = replyData().value(QStringLiteral("pubkey")).toString();
    if (!mState->rsaCipher.setPublicKey(key.toUtf8())) {
        raise(PUBLIC_KEY_ERROR, "PUBLIC_KEY_ERROR", __LINE__);
        return false;
    }
    return true;
}

bool SecuredHTTPCurl::shareAESKey(const QString& url)
{
    const QByteArray wrappedKey = mState->rsaCipher.encrypt(mState->aesKey.toBase64()).toBase64();
    const QByteArray test = CryptoUtils::generateRandomKey(AES_KEY_BITS).toBase64();
    const QJsonObject request {
        { QStringLiteral("handshake"), QStringLiteral("sharea_aeskey") }, // spelled as the services expect it
        { QStringLiteral("aes_key"), QString::fromLatin1(wrappedKey) },
        { QStringLiteral("aes_test"), QString::fromLatin1(encrypt(test).toBase64()) },
    };
    if (!HTTPCurl::postForm(url, request) || !checkResponse()) {
        return false;
    }
    if (replyData().value(QStringLiteral("res")).toString() != QString::fromLatin1(test)) {
        raise(PRIVATE_KEY_ERROR, "PRIVATE_KEY_ERROR", __LINE__,
            QStringLiteral("SecuredHTTPCurl::shareAESKeyUnable to exchange AES key"));
        return false;
    }
    return true;
}

QJsonObject SecuredHTTPCurl::replyData() const
{
    return mState->lastResponse.object().value(DATA).toObject();
}

bool SecuredHTTPCurl::checkResponse()
{
    const auto refuse = [this](int line, const QString& message) {
        raise(SECURED_PROTOCOL_ERROR_LAMBDA, "SECURED_PROTOCOL_ERROR_LAMBDA", line, message);
        return false;
    };
    if (response().isEmpty()) {
        return refuse(__LINE__, QStringLiteral("Null response!!"));
    }
    mState->lastResponse = QJsonDocument::fromJson(response());
    if (mState->lastResponse.isNull()) {
        return refuse(__LINE__, QStringLiteral("Couldn't parse response!!\n"));
    }
    const QJsonObject reply = mState->lastResponse.object();
    if (!reply.value(SUCCESS).isBool() || !reply.contains(DATA)) {
        return refuse(__LINE__, QStringLiteral("Wrong json format"));
    }
    if (reply.value(SUCCESS).toBool()) {
        return true;
    }
    if (reply.value(DATA).toString().contains(UPLOAD_LIMIT)) {
        raise(SECURED_PROTOCOL_ERROR_UPLOAD, "SECURED_PROTOCOL_ERROR_UPLOAD", __LINE__, UPLOAD_LIMIT);
        return false;
    }
    return refuse(__LINE__, QStringLiteral("request rejected by server"));
}

bool SecuredHTTPCurl::postForm(const QString& url, const QJsonObject& json)
{
    return postForm(url, json, QByteArray(), false);
}

bool SecuredHTTPCurl::postForm(const QString& url, const QJsonObject& json, const QByteArray& fileData, bool binary)
{
    if (!mState->cryptedMode) {
        return HTTPCurl::postForm(url, json, fileData, binary);
    }
    if (!checkIdle()) {
        return false;
    }
    if (fileData.size() > MAX_FILE_BYTES) {
        clear();
        raiseError(*this, BAD_PARAMETER, "BAD_PARAMETER", { "SecuredHTTPCurl", __LINE__ },
            QStringLiteral("A file of 2 GiB or more cannot be encrypted"));
        return false;
    }
    // A copy: fileData may be a response of this object, which the first post replaces.
    const QByteArray file = fileData; // NOLINT(performance-unnecessary-copy-initialization)
    bool success = HTTPCurl::postForm(url, json, file, binary);
    if (!success && error() == ErrorableCode::of(NO_SESSION)) {
        clearError();
        // Once: there is no further attempt if the service loses the session again.
        success = exchangeKeys(url) && HTTPCurl::postForm(url, json, file, binary);
    }
    return success;
}

QByteArray& SecuredHTTPCurl::preProcess(QByteArray& data, bool base64)
{
    if (!isCrypting()) {
        return HTTPCurl::preProcess(data, base64);
    }
    data = encrypt(data);
    if (base64) {
        data = data.toBase64();
    }
    return data;
}

bool SecuredHTTPCurl::postProcess(QByteArray& response)
{
    return !isCrypting() || checkSessionOkAndDecrypt(response);
}

QByteArray SecuredHTTPCurl::encrypt(const QByteArray& data) const
{
    return CryptoUtils::AES128_encrypt({ SecuredEnvelope::header(data), data }, mState->aesKey);
}

QByteArray SecuredHTTPCurl::decrypt(const QByteArray& data, bool /*flag*/) const
{
    return CryptoUtils::AES128_decrypt(data, mState->aesKey);
}

bool SecuredHTTPCurl::checkSessionOkAndDecrypt(QByteArray& data)
{
    try {
        return decryptReply(data);
    } catch (const std::bad_alloc&) {
        data.clear();
        handleCurlErrorCode(CURLE_OUT_OF_MEMORY);
        return false;
    }
}

bool SecuredHTTPCurl::decryptReply(QByteArray& data)
{
    const QJsonObject reply = QJsonDocument::fromJson(data).object();
    const QJsonValue success = reply.value(SUCCESS);
    if (success.isBool() && !success.toBool()) {
        raiseServerError(reply, data);
        data.clear();
        return false;
    }
    // Deliberate: a plaintext reply with "success" true is not accepted.
    const std::optional<QByteArray> payload = SecuredEnvelope::open(decrypt(data, false), mState->limitPayload);
    if (!payload) {
        raise(CRYPTO_FORMAT, "CRYPTO_FORMAT", __LINE__);
        LogUtils log(LogUtils::Debug, __FILE__, "checkSessionOkAndDecrypt", __LINE__);
        log << errorMessage() << "\n"
            << "LOG:" << data;
        log.checkSpacing();
        data.clear();
        return false;
    }
    data = *payload;
    return true;
}

/// Raises the error for one that the service reports in plaintext.
void SecuredHTTPCurl::raiseServerError(const QJsonObject& reply, const QByteArray& raw)
{
    const QString text = QString::fromUtf8(raw.constData(), raw.size()); // not only up to a NUL
    if (reply.value(DATA).toObject().value(QStringLiteral("error_message")).toString() == sNoSessionCode) {
        raise(NO_SESSION, "NO_SESSION", __LINE__, QStringLiteral("SESSION ERROR : ") + text);
    } else {
        raise(SECURED_PROTOCOL_ERROR_LAMBDA, "SECURED_PROTOCOL_ERROR_LAMBDA", __LINE__,
            QStringLiteral("ERROR : ") + text);
    }
}

void SecuredHTTPCurl::raise(Error error, const char* name, int line, const QString& message)
{
    raiseError(*this, error, name, { "SecuredHTTPCurl", line }, message);
}

void SecuredHTTPCurl::printError(const QString& message) const
{
    logWarning("printError", __LINE__, message);
}
