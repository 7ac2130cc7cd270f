#pragma once

#include <tavrel/tavrel_export.h>

#include <serialisation/Serializable.h>

#include <QByteArray>
#include <QString>

/**
 * A password that is plain in memory and enciphered in every file.
 *
 * The key is part of the library: it keeps a password from a glance at the file, not from somebody who has both. A
 * value type.
 */
class TAVREL_EXPORT EncryptedPassword : public Serializable
{
public:
    EncryptedPassword();

    /// The plain password; empty when what was loaded cannot be deciphered.
    QString value() const;
    void setValue(const QString& plain);
    /// True when nothing is stored. Does not decrypt: false after loading a saved password, even an empty one, as its
    /// encrypted form is not empty.
    bool isEmpty() const { return mValue.isEmpty(); }

    /// "crypted", then "val". A file always holds the enciphered form; the object stays as it is when it is saved.
    void sync() override;

private:
    static const QByteArray mPrivateKey;

    QString mValue; ///< plain, or the hexadecimal text of the cipher
    bool mCrypted = false;
};
