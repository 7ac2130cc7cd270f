#pragma once

#include <foundation/Interruption.h>

#include <QString>

#include <curl/curl.h>

#include <memory>

/**
 * How SFTP logs in beside the password: with a key of the user, and with the keys of the agent.
 *
 * All methods are tried on one connection, as servers count a connection that ends without a login as a failed one:
 * the key, the password, the agent, and keyboard-interactive, in this order of libcurl.
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

    /// Adds to the options of a new handle. With the agent, an empty password is not tried.
    void setOptions(CURL* easy, bool hasPassword);
    /// Before a connection is made: offers the agent, if it is used and answers.
    void offerAgent(CURL* easy, const std::shared_ptr<Interruption>& interruption);
    /// Whether the agent was used and has not answered.
    bool isAgentSilent() const { return mIsAgentSilent; }

private:
    QString mPrivateKey;
    QString mPublicKey;
    QString mPassphrase;
    bool mUsesAgent = false;
    bool mOffersAgent = false; ///< in the session
    bool mIsAgentSilent = false;
    unsigned long mTypes = 0; ///< without the agent
};
