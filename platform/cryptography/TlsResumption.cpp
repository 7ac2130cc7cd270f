#include "TlsResumption.h"

#include <openssl/ssl.h>

#include <QByteArray>
#include <QList>

struct TlsResumption::Sessions
{
    struct SessionDeleter
    {
        void operator()(SSL_SESSION* session) const { SSL_SESSION_free(session); }
    };
    using Session = std::unique_ptr<SSL_SESSION, SessionDeleter>;

    SSL* control = nullptr; ///< null when there is no control connection
    Session unused; ///< of the control connection; a session that has been used is not resumed again

    static int contextIndex();
    static int connectionIndex();
    static Sessions& of(const SSL* connection);
    static void forget(void* connection, void* self, CRYPTO_EX_DATA* data, int index, long number, void* pointer);
    static void onControl(const SSL* connection, int where, int result);
    static void onData(const SSL* connection, int where, int result);
    void resume(SSL* connection);
};

int TlsResumption::Sessions::contextIndex()
{
    static const int sIndex = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
    return sIndex;
}

int TlsResumption::Sessions::connectionIndex()
{
    static const int sIndex = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, &Sessions::forget);
    return sIndex;
}

TlsResumption::Sessions& TlsResumption::Sessions::of(const SSL* connection)
{
    return *static_cast<Sessions*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), contextIndex()));
}

/// Called for every connection of the process that ends; self is null for those that are not watched.
void TlsResumption::Sessions::forget(
    void* connection, void* self, CRYPTO_EX_DATA* /*data*/, int /*index*/, long /*number*/, void* /*pointer*/)
{
    auto* sessions = static_cast<Sessions*>(self);
    if (sessions && sessions->control == connection) {
        sessions->control = nullptr;
    }
}

void TlsResumption::Sessions::onControl(const SSL* connection, int where, int /*result*/)
{
    if ((where & SSL_CB_HANDSHAKE_START) == 0) {
        return;
    }
    Sessions& sessions = of(connection);
    // OpenSSL hands the connection to its observers as const, but wants it back to be changed.
    sessions.control = const_cast<SSL*>(connection); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    sessions.unused.reset();
    SSL_set_ex_data(sessions.control, connectionIndex(), &sessions);
}

void TlsResumption::Sessions::onData(const SSL* connection, int where, int /*result*/)
{
    // Not in a renegotiation, in which the session is in use.
    if ((where & SSL_CB_HANDSHAKE_START) != 0 && SSL_get_state(connection) == TLS_ST_BEFORE) {
        of(connection).resume(const_cast<SSL*>(connection)); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
}

void TlsResumption::Sessions::resume(SSL* connection)
{
    const SSL_SESSION* session = control ? SSL_get_session(control) : nullptr;
    if (session && SSL_SESSION_is_resumable(session) == 1) {
        unused.reset(SSL_SESSION_dup(session)); // With TLS 1.3 the server sends new ones at any time.
    }
    const Session copy(unused ? SSL_SESSION_dup(unused.get()) : nullptr);
    if (copy) {
        SSL_set_session(connection, copy.get());
    }
}

TlsResumption::TlsResumption()
    : mSessions(std::make_unique<Sessions>())
{
}

TlsResumption::~TlsResumption() = default;

bool TlsResumption::isUsable(const char* tlsLibrary)
{
    // "OpenSSL 3.0.15 3 Sep 2024" here, "OpenSSL/3.0.15" there.
    const QByteArray ours = QByteArray(OpenSSL_version(OPENSSL_VERSION)).split(' ').mid(0, 2).join('/');
    return ours == tlsLibrary;
}

void TlsResumption::watch(void* sslContext, Role role)
{
    auto* context = static_cast<SSL_CTX*>(sslContext);
    SSL_CTX_set_ex_data(context, Sessions::contextIndex(), mSessions.get());
    SSL_CTX_set_info_callback(context, role == Role::Control ? &Sessions::onControl : &Sessions::onData);
}
