#include <tavrel/EncryptedPassword.h>

#include <cryptography/CryptoUtils.h>

const QByteArray EncryptedPassword::mPrivateKey = "Qm3vT8xkL2pWz7Rd";

EncryptedPassword::EncryptedPassword()
    : Serializable(false)
{
}

QString EncryptedPassword::value() const
{
    if (!mCrypted) {
        return mValue;
    }
    const QByteArray plain = CryptoUtils::AES128_decrypt(QByteArray::fromHex(mValue.toLatin1()), mPrivateKey);
    // Deliberate: up to the first NUL; empty for a null array.
    return QString::fromUtf8(plain.constData());
}

void EncryptedPassword::setValue(const QString& plain)
{
    mValue = plain;
    mCrypted = false;
}

void EncryptedPassword::sync()
{
    if (isReadingMode()) {
        member(QStringLiteral("crypted"), mCrypted);
        member(QStringLiteral("val"), mValue);
    }
    if (isWritingMode()) {
        bool crypted = true;
        QString text = QString::fromLatin1(CryptoUtils::AES128_encrypt(value().toUtf8(), mPrivateKey).toHex());
        member(QStringLiteral("crypted"), crypted);
        member(QStringLiteral("val"), text);
    }
}
