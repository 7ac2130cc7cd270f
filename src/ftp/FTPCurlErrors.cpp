#include "ErrorSource.h"
#include "FTPCurlPrivate.h"

#include <foundation/raiseError.h>

namespace {

/// The text of a code, which need not be a code of libcurl.
QString textOf(int code)
{
    return QString::fromUtf8(code < 0 ? "Unknown error" : curl_easy_strerror(static_cast<CURLcode>(code)));
}

/// A server may repeat what it got, and the text of libcurl may hold a URL.
QString withoutPassword(QString text, const QString& password)
{
    if (!password.isEmpty()) {
        const QString mask = QStringLiteral("***");
        text.replace(password, mask);
        text.replace(QString::fromLatin1(QUrl::toPercentEncoding(password)), mask, Qt::CaseInsensitive);
    }
    return text;
}

} // namespace

QString FTPCurl::serverReply() const
{
    return mPrivate->withoutSecrets(mPrivate->session.reason().reply);
}

QString FTPCurl::errorDetail() const
{
    return mPrivate->withoutSecrets(mPrivate->session.reason().detail);
}

QString FTPCurl::Private::withoutSecrets(const QString& text)
{
    return withoutPassword(withoutPassword(text, settings.pwd()), session.sshLogin().passphrase());
}

bool FTPCurl::Private::setResult(int code, const QString& context)
{
    if (code == CURLE_OK) {
        client.clearError();
        return true;
    }
    const QString message = context + QStringLiteral("  CURL error : ") + textOf(code)
        + QStringLiteral(" (%1)").arg(QString::number(code)) + session.peerCheck().explain(code);
    raiseErrorValue<CURLcode>(client, code, "code", { ERROR_SOURCE, __LINE__ }, message);
    return false;
}

bool FTPCurl::Private::refuse(const QString& message, int line)
{
    raiseError(client, FTPCurl::FUNC_PARAM_ERROR, "FUNC_PARAM_ERROR", { ERROR_SOURCE, line }, message);
    return false;
}

bool FTPCurl::Private::stopInterrupted(int line)
{
    raiseError(client, FTPCurl::INTERRUPTED, "INTERRUPTED", { ERROR_SOURCE, line });
    return false;
}

bool FTPCurl::Private::checkIdle()
{
    if (session.isRunning()) {
        raiseError(client, FTPCurl::REQUEST_IN_PROGRESS, "REQUEST_IN_PROGRESS", { ERROR_SOURCE, __LINE__ },
            QStringLiteral("A request is already running on this object"));
    }
    return !session.isRunning();
}

bool FTPCurl::Private::checkUsable()
{
    return checkIdle() && client.isValid();
}

std::optional<RemotePath> FTPCurl::Private::accept(
    const QString& path, const char* operation, const char* messageWhenEmpty, int line)
{
    if (!checkUsable()) {
        return std::nullopt;
    }
    if (path.isEmpty()) {
        refuse(QLatin1String(messageWhenEmpty), line);
        return std::nullopt;
    }
    const RemotePath remote = this->path(path);
    return checkSendable(remote, operation, line) ? std::make_optional(remote) : std::nullopt;
}

bool FTPCurl::Private::checkSendable(const RemotePath& path, const char* operation, int line)
{
    if (path.isSendable()) {
        return true;
    }
    return refuse(QStringLiteral("%1: the path holds a control character").arg(QLatin1String(operation)), line);
}
