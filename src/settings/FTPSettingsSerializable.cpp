#include <tavrel/FTPSettingsSerializable.h>

FTPSettingsSerializable::FTPSettingsSerializable()
    : Serializable(false)
{
}

void FTPSettingsSerializable::sync()
{
    const QString passwordKey = QStringLiteral("pwd");
    int protocol = mProtocol;
    member(QStringLiteral("protocol"), protocol);
    mProtocol = static_cast<Protocol>(protocol);
    member(QStringLiteral("host"), mHost);
    member(QStringLiteral("port"), mPort);
    member(QStringLiteral("psv"), mPassiveMode);
    member(QStringLiteral("user"), mUser);

    QString plainText;
    if (isReadingMode()) {
        member(passwordKey, plainText);
    }
    if (plainText.isEmpty()) {
        member(passwordKey, mPassword);
    } else {
        mPassword.setValue(plainText);
    }

    member(QStringLiteral("public_url"), mPublicUrl);
    member(QStringLiteral("public_sub_folder"), mPublicSubFolder);
    member(QStringLiteral("ftp_folder"), mFtpFolder);
}
