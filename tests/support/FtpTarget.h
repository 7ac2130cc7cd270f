#pragma once

#include <tavrel/FTPSettings.h>

/// Settings for a server on loopback. The password needs escaping in URLs and commands.
struct FtpTarget final : FTPSettings
{
    FtpTarget(int protocol, int port, const QString& folder = QString())
    {
        mProtocol = static_cast<Protocol>(protocol);
        mHost = "127.0.0.1";
        mPort = port;
        mUser = "perf";
        mPassword.setValue("p@ss: w/rd%1");
        mFtpFolder = folder;
    }
    FtpTarget& at(const QString& host) { return mHost = host, *this; }
    FtpTarget& withPassword(const QString& password) { return mPassword.setValue(password), *this; }
    FtpTarget& active() { return mPassiveMode = false, *this; }
};
