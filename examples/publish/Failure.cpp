#include "Failure.h"

#include <tavrel/FTPCurl.h>

#include <algorithm>
#include <initializer_list>

namespace {

bool isOneOf(const ErrorableCode& code, std::initializer_list<CURLcode> values)
{
    return std::any_of(
        values.begin(), values.end(), [&code](CURLcode value) { return code == ErrorableCode::of(value); });
}

} // namespace

bool Failure::isFinal(const ErrorableCode& code)
{
    // Uploads write in place, so a server with a full disk would truncate one file after the other.
    const auto full = { CURLE_REMOTE_DISK_FULL, CURLE_WRITE_ERROR };
    const auto unreachable = { CURLE_COULDNT_RESOLVE_PROXY, CURLE_COULDNT_RESOLVE_HOST, CURLE_COULDNT_CONNECT,
        CURLE_OPERATION_TIMEDOUT, CURLE_UNSUPPORTED_PROTOCOL, CURLE_FAILED_INIT, CURLE_OUT_OF_MEMORY };
    const auto refused = { CURLE_LOGIN_DENIED, CURLE_USE_SSL_FAILED, CURLE_SSL_CONNECT_ERROR, CURLE_SSL_CIPHER,
        CURLE_SSL_CERTPROBLEM, CURLE_SSL_ENGINE_INITFAILED, CURLE_PEER_FAILED_VERIFICATION };
    return code == ErrorableCode::of(FTPCurl::NOT_INITIALIZED) || isOneOf(code, full) || isOneOf(code, unreachable)
        || isOneOf(code, refused);
}

bool Failure::isOfConnection(const ErrorableCode& code)
{
    return isOneOf(code,
        { CURLE_WEIRD_SERVER_REPLY, CURLE_FTP_ACCEPT_FAILED, CURLE_FTP_ACCEPT_TIMEOUT, CURLE_FTP_WEIRD_PASV_REPLY,
            CURLE_FTP_WEIRD_227_FORMAT, CURLE_FTP_CANT_GET_HOST, CURLE_FTP_PORT_FAILED, CURLE_PARTIAL_FILE,
            CURLE_GOT_NOTHING, CURLE_SEND_ERROR, CURLE_RECV_ERROR, CURLE_SSH });
}

QString Failure::reasonOf(const FTPCurl& client)
{
    const QString message = client.hasError() ? client.errorText().simplified() : QStringLiteral("the server refused");
    const QString reply = client.serverReply();
    const bool isRefusal = reply.startsWith(QLatin1Char('4')) || reply.startsWith(QLatin1Char('5'));
    const QString detail = isRefusal ? reply : client.errorDetail();
    return detail.isEmpty() ? message : QStringLiteral("%1: %2").arg(message, detail);
}
