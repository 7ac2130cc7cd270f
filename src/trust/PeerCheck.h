#pragma once

#include <tavrel/PeerTrust.h>

#include <cryptography/TlsPeer.h>
#include <cryptography/TlsResumption.h>

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

#include <functional>
#include <memory>

class QTemporaryFile;

/**
 * Has libcurl apply a PeerTrust, and records what the peer shows. It owns the callbacks for the TLS and SSH connections
 * of a handle.
 *
 * Set on a handle before its transfers, which fail with optionResult() unless that is CURLE_OK: libcurl has refused an
 * option of the trust. The object outlives their connections. Used by one thread at a time.
 */
class PeerCheck
{
public:
    PeerCheck();
    ~PeerCheck();

    PeerCheck(const PeerCheck&) = delete;
    PeerCheck& operator=(const PeerCheck&) = delete;

    void setTrust(const PeerTrust& trust) { mTrust = trust; }
    const PeerTrust& trust() const { return mTrust; }
    /// The reason for refusing a protocol, because the trust is not valid or does not cover it; empty for none.
    QString faultForTls() const;
    QString faultForSsh() const;
    QString faultForPlaintext() const;

    /// Sets the options of a trust that covers TLS on a new handle.
    void setTlsOptions(CURL* easy);
    /// Takes the callbacks off a handle that outlives the object; files and pins stay.
    static void detach(CURL* easy);
    /// Has a handle record the certificates of its TLS connections. With a function that tells whether the connection
    /// to come is a data connection of FTP, those resume the session of the control connection.
    void watchTls(CURL* easy, std::function<bool()> isDataConnection = {});
    /// Has a new handle record the host key, and accept it or not.
    void setSshOptions(CURL* easy, const QString& host, int port);

    /// The first failure to set an option of the trust on the last handle: one that this libcurl does not have, or no
    /// memory.
    CURLcode optionResult() const { return mOptionResult; }

    /// "sha256//…" of a TLS public key, "SHA256:…" of a host key; empty before the first connection.
    QString fingerprint() const;
    /// For a result of libcurl that may be a refusal: ": " and what was expected and shown; else empty.
    QString explain(int code) const;

private:
    void forgetPeer();
    template <class Value> void setOption(CURL* easy, CURLoption option, Value value);
    QString faultUnless(bool isCovered, const char* requirement) const;
    QString reason(int code) const;
    bool accepts(const QByteArray& key);
    static CURLcode onTlsContext(CURL* easy, void* context, void* self);
    static int onKnownHost(
        CURL* easy, const curl_khkey* known, const curl_khkey* shown, curl_khmatch match, void* self);
    static int onHostKey(void* self, int type, const char* key, size_t size);

    PeerTrust mTrust;
    TlsPeer mTlsPeer;
    TlsResumption mTlsResumption;
    std::function<bool()> mIsDataConnection;
    CURLcode mOptionResult = CURLE_OK;
    QString mExpected;
    QByteArray mHostKey; ///< that the server has shown
    QByteArray mHost;
    int mPort = 0;
    std::unique_ptr<QTemporaryFile> mPlainKnownHosts;
};
