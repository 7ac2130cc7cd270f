#include "HTTPCurlState.h"

#include <init/warnIfNotInitialized.h>

#include <foundation/raiseError.h>

namespace {

constexpr int MIN_CLEANED_URL_SIZE = 7;

} // namespace

const QByteArray HTTPCurl::SEPARATOR_BINARY = "##SEPARATOR##";
const QString HTTPCurl::HTTPCURL_KEY_BOOL_RESULT_AS_BINARY = QStringLiteral("part_result_as_binary");
QString HTTPCurl::COOKIEPATH = QStringLiteral(".");

HTTPCurl::HTTPCurl(QObject* parent)
    : Threadable(parent)
    , mState(new State)
{
    warnIfNotInitialized(__FILE__, "HTTPCurl", __LINE__);
}

HTTPCurl::~HTTPCurl() = default;

void HTTPCurl::clear()
{
    if (!mState->isRunning) {
        resetResults();
    }
}

void HTTPCurl::resetResults()
{
    mState->response.clear();
    mState->binaryResponse.clear();
    mState->responseCode = 0;
    mState->errorDetail.clear();
    clearError();
}

bool HTTPCurl::isDistantUrl(const QString& url)
{
    return url.startsWith(QLatin1String("http://"), Qt::CaseInsensitive)
        || url.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
}

bool HTTPCurl::checkUrl(const QString& url)
{
    if (url.isEmpty()) {
        mState->errorDetail.clear();
        raiseError(*this, EMPTY_URL, "EMPTY_URL", { __FILE__, __LINE__ });
        return false;
    }
    return true;
}

QString HTTPCurl::cleanUrl(const QString& url)
{
    if (url.size() < MIN_CLEANED_URL_SIZE || !url.endsWith(QLatin1Char('/'))) {
        return url;
    }
    return url.left(url.size() - 1);
}

void HTTPCurl::checkRedirection(CURL* handle, const QString& requestedUrl)
{
    const char* effective = nullptr;
    curl_easy_getinfo(handle, CURLINFO_EFFECTIVE_URL, &effective);
    const QString effectiveUrl = QString::fromUtf8(effective);

    QString asked = requestedUrl.toLower();
    if (!asked.startsWith(QLatin1String("http"))) {
        // Deliberate: the letter case of a URL without a scheme counts.
        asked = QStringLiteral("http://") + requestedUrl;
    }
    // Empty when the request was interrupted before it began.
    mState->wasRedirected = !effectiveUrl.isEmpty() && cleanUrl(asked) != cleanUrl(effectiveUrl.toLower());
    mState->redirectedUrl = mState->wasRedirected ? effectiveUrl : QString();
}

QByteArray& HTTPCurl::preProcess(QByteArray& data, bool /*base64*/)
{
    return data;
}

bool HTTPCurl::postProcess(QByteArray& /*response*/)
{
    return true;
}

const QByteArray& HTTPCurl::response() const
{
    return mState->response;
}

const QByteArray& HTTPCurl::binaryResponse() const
{
    return mState->binaryResponse;
}

long HTTPCurl::HTTPResponseCode() const
{
    return mState->responseCode;
}

bool HTTPCurl::isBinaryMode() const
{
    return mState->binaryMode;
}

QJsonDocument HTTPCurl::lastJsonSent() const
{
    return mState->lastJsonSent;
}

bool HTTPCurl::wasRedirected() const
{
    return mState->wasRedirected;
}

QString HTTPCurl::redirectedURL() const
{
    return mState->redirectedUrl;
}

QString HTTPCurl::errorDetail() const
{
    return mState->errorDetail.isEmpty() ? errorText() : mState->errorDetail;
}

void HTTPCurl::setTimeOut(int seconds)
{
    mState->timeOut = seconds;
}

bool HTTPCurl::setStallTimeOut(int seconds)
{
    if (seconds < 0) {
        raiseError(*this, BAD_PARAMETER, "BAD_PARAMETER", { __FILE__, __LINE__ },
            QStringLiteral("setStallTimeOut: the time is negative"));
        return false;
    }
    mState->stallTimeOut = seconds;
    return true;
}

void HTTPCurl::setLimitDownload(qint64 bytes)
{
    mState->limitDownload = bytes;
}

void HTTPCurl::setKeepConnections(bool on)
{
    mState->keepsConnections = on;
    if (!on) {
        mState->keptLoop.reset();
    }
}

void HTTPCurl::setUserAgent(const QString& agent)
{
    mState->userAgent = agent;
}

void HTTPCurl::setUserAgentExtension(const QString& extension)
{
    mState->userAgentExtension = extension;
}
