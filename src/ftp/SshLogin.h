#pragma once

#include <QString>

#include <curl/curl.h>

/**
 * How SFTP logs in beside the password: with a key of the user, and with the keys of the agent.
 *
 * libcurl asks the agent last, after the password. With the agent the password therefore waits for a login of its own,
 * see fallBack().
 */
class SshLogin
{
public:
    /// The reason for refusing a key; empty if it was taken over.
    QString setKey(const QString& privateKey, const QString& publicKey, const QString& passphrase);
    void clearKey();
    const QString& passphrase() const { return mPassphrase; }
    void setUseAgent(bool use) { mUsesAgent = use; }
    bool usesAgent() const { return mUsesAgent; }

    /// Adds to the options of a new handle; none without key and agent.
    void setOptions(CURL* easy);
    /// After a refused login: sets the handle to the password. False if that has been tried.
    bool fallBack(CURL* easy);

private:
    QString mPrivateKey;
    QString mPublicKey;
    QString mPassphrase;
    bool mUsesAgent = false;
    bool mHasFallBack = false;
};
