// Older versions of libcurl know the set of protocols only as the mask that newer ones mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "HTTPCurlState.h"

#include <foundation/raiseError.h>

bool HTTPCurl::setTrust(const PeerTrust& trust)
{
    if (!checkIdle()) {
        return false;
    }
    mState->keptLoop.reset(); // Its connections are to servers that another trust has accepted.
    mState->peerCheck.setTrust(trust);
    return checkTrust();
}

bool HTTPCurl::checkTrust()
{
    const QString fault = mState->peerCheck.faultForTls();
    if (!fault.isEmpty()) {
        raiseError(*this, BAD_PARAMETER, "BAD_PARAMETER", { __FILE__, __LINE__ }, QStringLiteral("setTrust: ") + fault);
    }
    return fault.isEmpty();
}

void HTTPCurl::State::setTrustOptions(CURL* handle)
{
    peerCheck.setTlsOptions(handle);
    // By default libcurl also follows to FTP, where statuses, ranges and validators mean nothing.
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
    if (!peerCheck.trust().trustsAnyone()) {
        peerCheck.watchTls(handle);
        curl_easy_setopt(handle, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTPS));
        curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS, static_cast<long>(CURLPROTO_HTTPS));
    }
}
