#pragma once

#include <tavrel/HTTPCurl.h>

#include <transfer/TransferLoop.h>
#include <trust/PeerCheck.h>

#include <array>
#include <memory>

class PartialFile;

/// The settings of an HTTPCurl and the results of its last request.
// Grouped by subject, not by size: there is one per client.
struct HTTPCurl::State // NOLINT(clang-analyzer-optin.performance.Padding)
{
    bool binaryMode = false;
    QByteArray response;
    QByteArray binaryResponse;
    long responseCode = 0;
    int timeOut = -1;
    int stallTimeOut = 0;
    bool wasRedirected = false;
    QString redirectedUrl;
    QJsonDocument lastJsonSent;
    QString userAgentHeader;
    QString userAgent;
    QString userAgentExtension;
    qint64 limitDownload = -1;
    PeerCheck peerCheck;
    bool keepsConnections = false;
    std::unique_ptr<TransferLoop> keptLoop; ///< owns the connections between requests; null during one

    /// Sets the options of the trust on a handle.
    void setTrustOptions(CURL* handle);
    void setCookieOptions(CURL* handle);
    void buildUserAgentHeader();
    /// Sets the range of a request that continues a download, and returns the header that goes with it.
    curl_slist* requestRest(CURL* handle);
    /// libcurl's callback; the last argument is a State.
    static size_t readHeader(char* line, size_t size, size_t count, void* state);
    CURLcode perform(CURL* handle, const std::shared_ptr<Interruption>& interruption);
    void keepErrorDetail(CURLcode code, const QString& url);

    QString errorDetail;
    std::array<char, CURL_ERROR_SIZE> errorBuffer {}; ///< written by libcurl during a request

    bool isRunning = false; ///< from the start of a request until its result is known
    bool hasSignalledInterruption = false; ///< in this request
    PartialFile* partialFile = nullptr; ///< the target of a request that may continue a download
    bool isHeadOpen = false; ///< the blank line that ends the head of an answer has not arrived
};
