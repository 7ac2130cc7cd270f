#pragma once

#include <memory>

/**
 * Lets the TLS data connections of an FTP session resume the session of its control connection.
 *
 * Servers demand it as a proof that both belong to the same client. libcurl does it as far as its cache of sessions
 * goes: some versions find no session for the port of a data connection, and with TLS 1.3 a session of the cache is
 * used once. Here each data connection gets a copy of the session of the control connection.
 *
 * The object outlives the connections. Used by one thread at a time.
 */
class TlsResumption
{
public:
    enum class Role { Control, Data };

    TlsResumption();
    ~TlsResumption();

    TlsResumption(const TlsResumption&) = delete;
    TlsResumption& operator=(const TlsResumption&) = delete;

    /// Whether an SSL_CTX of a library with this name and version, such as "OpenSSL/3.0.15", can be watched.
    static bool isUsable(const char* tlsLibrary);

    /// To be called with the SSL_CTX of each connection before its handshake.
    void watch(void* sslContext, Role role);

private:
    struct Sessions;

    std::unique_ptr<Sessions> mSessions;
};
