#pragma once

#include <tavrel/FTPSettingsSerializable.h>

/// The settings with what an application adds to fill them.
class EditableSettings : public FTPSettingsSerializable
{
public:
    /// The files name the base class, for every program that reads them.
    QString className() const override { return QStringLiteral("FTPSettingsSerializable"); }

    void setProtocol(Protocol protocol) { mProtocol = protocol; }
    void setHost(const QString& host) { mHost = host; }
    /// -1 stands for the protocol's default.
    void setPort(int port) { mPort = port; }
    void setPassiveMode(bool on) { mPassiveMode = on; }
    void setUser(const QString& user) { mUser = user; }
    void setPassword(const QString& plain) { mPassword.setValue(plain); }
    void setFtpFolder(const QString& folder) { mFtpFolder = folder; }
    void setPublicUrl(const QString& url) { mPublicUrl = url; }
    void setPublicSubFolder(const QString& folder) { mPublicSubFolder = folder; }

    /// The port as it was entered: -1 when there was none.
    int enteredPort() const { return mPort; }
};
