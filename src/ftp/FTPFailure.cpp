#include <tavrel/FTPFailure.h>

#include "FTPSession.h"

#include <tavrel/FTPCurl.h>

namespace {

constexpr int PROXY_FAILURE = 97; ///< CURLE_PROXY, since libcurl 7.73

FTPFailure::Kind kindOfCode(int code)
{
    switch (code) {
    case CURLE_OK:
        return FTPFailure::None;
    case CURLE_REMOTE_DISK_FULL:
        return FTPFailure::OfStorage;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT: // paths are encoded, so it is host, user or password
    case PROXY_FAILURE:
    case CURLE_FAILED_INIT:
    case CURLE_OUT_OF_MEMORY:
    case CURLE_LOGIN_DENIED:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_PEER_FAILED_VERIFICATION:
        return FTPFailure::OfServer;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_FTP_ACCEPT_FAILED:
    case CURLE_FTP_ACCEPT_TIMEOUT:
    case CURLE_FTP_WEIRD_PASV_REPLY:
    case CURLE_FTP_WEIRD_227_FORMAT:
    case CURLE_FTP_CANT_GET_HOST:
    case CURLE_FTP_PORT_FAILED:
    case CURLE_FTP_COULDNT_SET_TYPE:
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_SSH:
        return FTPFailure::OfConnection;
    default:
        return FTPFailure::OfPath;
    }
}

/// Of a failure without a closer code: libcurl has one for a full disk only at the end of an upload, and 7.88.1 takes
/// the refusal of an upload over FTPS for a reply to PASV. A server that refuses a file after its last byte is known by
/// a partial one.
FTPFailure::Kind kindOfReply(const QString& reply, int code)
{
    if (reply.startsWith(QLatin1String("452")) || reply.startsWith(QLatin1String("552"))) {
        return FTPFailure::OfStorage;
    }
    const bool isOfUpload = code == CURLE_FTP_WEIRD_PASV_REPLY || code == CURLE_PARTIAL_FILE;
    const bool isRefusal = isOfUpload && reply.startsWith(QLatin1String("55"));
    return isRefusal ? FTPFailure::OfPath : kindOfCode(code);
}

} // namespace

FTPFailure::Kind FTPFailure::kindOf(const FTPCurl& client)
{
    const ErrorableCode& error = client.error();
    if (client.isInterruptionRequested()) {
        return Interrupted;
    }
    if (error.isNull()) {
        return None;
    }
    if (error.typeName() != ErrorableCode::of(CURLE_OK).typeName()) {
        return error == ErrorableCode::of(FTPCurl::NOT_INITIALIZED) ? OfServer : OfPath;
    }
    const QString reply = client.serverReply();
    // The server closes a session that was in order, for its own reasons.
    const bool isEndOfSession = reply.startsWith(QLatin1String("421"));
    return isEndOfSession ? OfConnection : kindOfReply(reply, error.value());
}

QString FTPFailure::reasonOf(const FTPCurl& client)
{
    const ErrorableCode& error = client.error();
    const bool isOfLibcurl = error.typeName() == ErrorableCode::of(CURLE_OK).typeName();
    // The registered message may be from another client with the same code, and hold names from a server.
    const QString refusal
        = kindOf(client) == OfServer ? FTPSession::of(client).peerCheck().explain(error.value()) : QString();
    QString text = isOfLibcurl ? QString::fromUtf8(curl_easy_strerror(static_cast<CURLcode>(error.value()))) + refusal
                               : client.errorText().simplified();
    if (!isOfLibcurl && error != ErrorableCode::of(FTPCurl::TIME_NOT_KEPT)) {
        return text; // Reply and detail belong to an earlier request.
    }
    const QString reply = client.serverReply();
    const bool isRefusal = reply.startsWith(QLatin1Char('4')) || reply.startsWith(QLatin1Char('5'));
    const QString detail = isRefusal ? reply : client.errorDetail();
    if (detail.isEmpty() || text.isEmpty() || detail.endsWith(text)) {
        return detail.isEmpty() ? text : detail;
    }
    return text + QStringLiteral(": ") + detail;
}
