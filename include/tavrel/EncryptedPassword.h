#pragma once

#include <tavrel/tavrel_export.h>

#include <serialisation/Serializable.h>

#include <QByteArray>
#include <QString>

/**
 * A password in plaintext in memory and encrypted in files.
 *
 * The key is part of the library: the encryption protects against casual viewing only. A value type.
 */
class TAVREL_EXPORT EncryptedPassword : public Serializable
{
public:
    EncryptedPassword();

    /// The password in plaintext; empty if a loaded one cannot be decrypted.
    QString value() const;
    void setValue(const QString& plain); ///< In plaintext.
    /// True if nothing is stored. Does not decrypt: false after loading a saved password, even an empty one, whose
    /// encrypted form is not empty.
    bool isEmpty() const { return mValue.isEmpty(); }

    /// "crypted", then "val". Files always contain the encrypted form; saving does not change the object.
    void sync() override;

private:
    static const QByteArray mPrivateKey;

    QString mValue; ///< in plaintext, or the hexadecimal text of the ciphertext
    bool mCrypted = false;
};
