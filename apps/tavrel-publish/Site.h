#pragma once

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/PeerTrust.h>

class FTPCurl;
class Options;

/// The target of the settings file, with what the command line, the environment and the user add to it.
class Site : public FTPSettingsSerializable
{
public:
    QString className() const override { return QStringLiteral("FTPSettingsSerializable"); }

    /// Why the settings cannot be used; empty if they can.
    QString faultFor(const Options& options) const;
    bool isTls() const { return mProtocol == FTPS_EXPLICIT || mProtocol == FTPS_IMPLICIT; }

    /// Takes trust and SSH key; false, with the reason in fault, for options that do not suit the protocol. By default
    /// a server is verified by the authorities of the system, or by the known hosts of the user, which new hosts are
    /// appended to.
    bool readAccess(const Options& options, QString& fault);
    const PeerTrust& trust() const { return mTrust; }
    /// Sets a client up before its session.
    bool prepare(FTPCurl& client) const;

    /// Takes password and passphrase of the environment.
    void readSecrets();
    bool lacksPassword() const;
    bool lacksPassphrase() const;
    void setPassword(const QString& password) { mPassword.setValue(password); }
    void setPassphrase(const QString& passphrase) { mPassphrase = passphrase; }

    /// How to accept the server that a failure for this reason refused; empty for other failures.
    QString howToAccept(const QString& reason) const;
    /// How to accept the server that showed a key, as FTPCurl::peerFingerprint() tells it.
    QString howToAcceptKey(const QString& key) const;

private:
    PeerTrust defaultTrust() const;

    PeerTrust mTrust;
    QString mIdentity;
    QString mPassphrase;
    bool mUsesAgent = false;
    int mStallTimeOut = 0;
};
