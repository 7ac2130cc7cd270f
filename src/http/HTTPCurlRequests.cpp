// The progress callback in percent needs libcurl's older form of it.
#define CURL_DISABLE_DEPRECATION

#include "HTTPCurlState.h"
#include "PartialFile.h"

#include <transfer/EasyHandle.h>
#include <transfer/WriteBatch.h>

#include <foundation/FileUtils.h>
#include <foundation/raiseError.h>

#include <QBuffer>
#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QScopedValueRollback>
#include <QUrl>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace {

constexpr int ABORT_TRANSFER = 42;
constexpr long MAX_REDIRECTIONS = 30;

const char* const DEFAULT_USER_AGENT = "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 "
                                       "(KHTML, like Gecko) Chrome/58.0.3029.110 Safari/537.36";

bool isBetween(long value, long lowest, long highest)
{
    return value >= lowest && value <= highest;
}

/// Whether a text holds the user or the password of a URL, as written there or decoded.
bool holdsCredentials(const QString& text, const QString& url)
{
    static const QRegularExpression authority(QStringLiteral("^(?:[^:/?#]*://)?([^/?#]*)@"));
    const QStringList parts = authority.match(url).captured(1).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return std::any_of(parts.begin(), parts.end(), [&text](const QString& part) {
        return text.contains(part) || text.contains(QUrl::fromPercentEncoding(part.toUtf8()));
    });
}

/// Closes a device; false when bytes that it still held could not be written, as on a full disk.
bool closeDevice(QIODevice& device)
{
    if (auto* saveFile = qobject_cast<QSaveFile*>(&device)) {
        // Qt ends the process when such a file is closed by anything but its commit.
        return saveFile->flush();
    }
    device.close();
    const auto* file = qobject_cast<QFileDevice*>(&device);
    return !file || file->error() == QFileDevice::NoError;
}

} // namespace

bool HTTPCurl::getData(const QString& url, QByteArray& data)
{
    if (!checkIdle()) {
        return false;
    }
    data.clear();
    QBuffer buffer(&data);
    return getDataRaw(url, buffer);
}

bool HTTPCurl::getFile(const QString& url, const QString& path)
{
    if (!checkIdle()) {
        return false;
    }
    PartialFile::removeRecord(path); // It does not describe the bytes to come.
    QFile file(path);
    return getDataRaw(url, file);
}

bool HTTPCurl::testURLResponse(const QString& url, QString* /*unused*/)
{
    QBuffer scratch;
    return getDataRaw(url, scratch);
}

bool HTTPCurl::getDataRaw(const QString& url, QIODevice& device)
{
    if (!checkIdle()) {
        return false;
    }
    const QScopedValueRollback<bool> running(mState->isRunning, true);
    CURL* handle = nullptr;
    if (!curlInit(handle, url)) {
        return false;
    }
    const EasyHandle owner(handle);
    if (!device.open(QIODevice::WriteOnly)) {
        raiseError(*this, GET_CANT_WRITE_DEVICE, "GET_CANT_WRITE_DEVICE", { __FILE__, __LINE__ });
        return false;
    }
    curl_easy_setopt(handle, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, write_data);
    WriteBatch batch(device);
    batch.open(QIODevice::WriteOnly);
    QIODevice* const sink = qobject_cast<QFileDevice*>(&device) ? &batch : &device;
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, sink);
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    const CurlList headers(mState->requestRest(handle));
    setCurlGETAndPOSTCommonConfig(handle, headers.get());

    CURLcode code = performRequest(handle, url);
    const bool isFlushed = batch.flush();
    const bool isClosed = closeDevice(device);
    if (code == CURLE_OK && !(isFlushed && isClosed)) {
        // Deliberate: libcurl's success does not include what the device still held.
        code = CURLE_WRITE_ERROR;
    }
    if (error() != ErrorableCode::of(DOWNLOAD_LIMIT_REACHED)) {
        setResult(code);
    }
    return code == CURLE_OK;
}

bool HTTPCurl::checkIdle()
{
    if (mState->isRunning) {
        raiseError(*this, REQUEST_IN_PROGRESS, "REQUEST_IN_PROGRESS", { __FILE__, __LINE__ },
            QStringLiteral("A request is already running on this object"));
    }
    return !mState->isRunning;
}

bool HTTPCurl::curlInit(CURL*& handle, const QString& url)
{
    if (!checkUrl(url)) {
        return false;
    }
    resetResults();
    if (!checkTrust()) {
        return false;
    }
    handle = curl_easy_init();
    if (!handle) {
        raiseError(*this, CURL_INIT_PROBLEM, "CURL_INIT_PROBLEM", { __FILE__, __LINE__ });
        return false;
    }
    return true;
}

void HTTPCurl::setCurlGETAndPOSTCommonConfig(CURL* handle, curl_slist* headerList)
{
    Q_EMIT progress(0.0);
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_PROGRESSDATA, this);
    curl_easy_setopt(handle, CURLOPT_PROGRESSFUNCTION, progressCallback);
    mState->setCookieOptions(handle);
    if (mState->timeOut > 0) {
        curl_easy_setopt(handle, CURLOPT_TIMEOUT, static_cast<long>(mState->timeOut));
    }
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    // Deliberate: older versions of libcurl follow a circle of redirections for ever.
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, MAX_REDIRECTIONS);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    // Deliberate: applications talk to servers whose certificates nobody has signed.
    curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 0L);
    mState->setTrustOptions(handle);

    mState->buildUserAgentHeader();
    // Deliberate: the list grows from a copy of the caller's pointer and is never released. The caller owns only
    // the list it passed, and a request costs some 200 bytes.
    headerList = curl_slist_append(headerList, mState->userAgentHeader.toUtf8().constData());
    headerList = curl_slist_append(headerList, "Cache-Control: no-cache");
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headerList);
}

void HTTPCurl::State::buildUserAgentHeader()
{
    userAgentHeader = QStringLiteral("User-Agent: ");
    userAgentHeader += userAgent.isEmpty() ? QString::fromLatin1(DEFAULT_USER_AGENT) : userAgent;
    if (!userAgentExtension.isEmpty()) {
        userAgentHeader += QLatin1Char(' ') + userAgentExtension;
    }
}

CURLcode HTTPCurl::performRequest(CURL* handle, const QString& url)
{
    mState->hasSignalledInterruption = false;
    mState->isHeadOpen = false;
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, State::readHeader);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, mState.data());
    mState->errorBuffer.fill(0);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, mState->errorBuffer.data());
    CURLcode code = mState->perform(handle, interruption());
    if (code == CURLE_OK && mState->isHeadOpen) {
        // Deliberate: libcurl takes a connection that closes within the head for an empty answer.
        code = CURLE_PARTIAL_FILE;
    }
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &mState->responseCode);
    checkRedirection(handle, url);
    mState->keepErrorDetail(code, url);
    if (code != CURLE_OK && isInterruptionRequested()) {
        signalInterruption();
    }
    return code;
}

void HTTPCurl::State::keepErrorDetail(CURLcode code, const QString& url)
{
    const QString text = QString::fromUtf8(errorBuffer.data());
    if (code != CURLE_OK && !holdsCredentials(text, url)) {
        errorDetail = text;
    }
}

CURLcode HTTPCurl::State::perform(CURL* handle, const std::shared_ptr<Interruption>& interruption)
{
    if (peerCheck.optionResult() != CURLE_OK) {
        return peerCheck.optionResult();
    }
    std::unique_ptr<TransferLoop> loop = std::move(keptLoop);
    if (!loop) {
        loop = std::make_unique<TransferLoop>();
    }
    loop->setStallTimeOut(std::chrono::seconds(stallTimeOut));
    const CURLcode code = loop->perform(handle, interruption);
    if (code == CURLE_OK && keepsConnections) {
        keptLoop = std::move(loop);
    }
    return code;
}

size_t HTTPCurl::State::readHeader(char* line, size_t size, size_t count, void* state)
{
    const QByteArray text = QByteArray::fromRawData(line, static_cast<int>(size * count));
    State& self = *static_cast<State*>(state);
    const bool isOfHead = self.isHeadOpen || text.startsWith("HTTP/"); // else of a trailer
    self.isHeadOpen = isOfHead && !text.trimmed().isEmpty();
    const bool isRefused = isOfHead && self.partialFile && !self.partialFile->takeHeaderLine(text);
    return isRefused ? 0 : size * count;
}

/// Once in a request, whether libcurl's callback or the loop has noticed first.
void HTTPCurl::signalInterruption()
{
    if (!mState->hasSignalledInterruption) {
        mState->hasSignalledInterruption = true;
        Q_EMIT progress(0.0);
        Q_EMIT progressUpload(0.0);
    }
}

/// A slot may have left the error of a request that was refused.
void HTTPCurl::setResult(CURLcode code)
{
    clearError();
    if (code != CURLE_OK) {
        handleCurlErrorCode(code);
    }
}

void HTTPCurl::handleCurlErrorCode(CURLcode code)
{
    if (code != CURLE_HTTP_RETURNED_ERROR) {
        const QString text = QString::fromUtf8(curl_easy_strerror(code)) + mState->peerCheck.explain(code);
        raiseError(*this, code, "curlCode", { __FILE__, __LINE__ }, text);
    } else if (isBetween(mState->responseCode, 400, 499)) {
        raiseError(*this, NOT_FOUND_4XX, "NOT_FOUND_4XX", { __FILE__, __LINE__ }, QStringLiteral("Resource not found"));
    } else if (isBetween(mState->responseCode, 500, 599)) {
        raiseError(*this, SERVER_ERROR_5XX, "SERVER_ERROR_5XX", { __FILE__, __LINE__ },
            QStringLiteral("Server critical error"));
    }
    // Deliberate: any other status fails without an error; the caller reads HTTPResponseCode().
}

void HTTPCurl::raiseErrorDownloadLimit(qint64 limit)
{
    raiseError(*this, DOWNLOAD_LIMIT_REACHED, "DOWNLOAD_LIMIT_REACHED", { __FILE__, __LINE__ },
        QStringLiteral("Download limit reached %1").arg(FileUtils::fileSizeToString(limit)));
}

size_t HTTPCurl::writeResponse(char* ptr, size_t size, size_t count, void* client)
{
    QByteArray& response = static_cast<HTTPCurl*>(client)->mState->response;
    const size_t bytes = size * count;
    const auto room = static_cast<size_t>(std::numeric_limits<int>::max() - response.size());
    if (bytes >= room) {
        return 0; // With Qt 5 a byte array holds no more; libcurl reports a write error.
    }
    try {
        response.append(ptr, static_cast<int>(bytes));
    } catch (const std::bad_alloc&) {
        return 0; // libcurl is C: nothing may be thrown through it.
    }
    return bytes;
}

size_t HTTPCurl::write_data(char* ptr, size_t size, size_t count, void* device)
{
    if (!device) {
        return count;
    }
    try {
        const auto bytes = static_cast<qint64>(size) * static_cast<qint64>(count);
        const qint64 written = static_cast<QIODevice*>(device)->write(ptr, bytes);
        return static_cast<size_t>(written);
    } catch (const std::bad_alloc&) {
        return 0; // libcurl is C: nothing may be thrown through it.
    }
}

size_t HTTPCurl::my_dummy_write(char* /*ptr*/, size_t size, size_t count, void* /*unused*/)
{
    return size * count;
}

int HTTPCurl::progressCallback(void* client, double dltotal, double dlnow, double ultotal, double ulnow)
{
    HTTPCurl& self = *static_cast<HTTPCurl*>(client);
    if (self.mState->partialFile && dltotal != 0) {
        const auto before = static_cast<double>(self.mState->partialFile->bytesBeforeBody());
        dltotal += before;
        dlnow += before;
    }
    const qint64 limit = self.mState->limitDownload;
    if (limit > 0 && dltotal > static_cast<double>(limit)) {
        self.raiseErrorDownloadLimit(limit);
        return ABORT_TRANSFER;
    }
    if (self.isInterruptionRequested()) {
        self.signalInterruption();
        return ABORT_TRANSFER;
    }
    if (dltotal != 0) {
        Q_EMIT self.progress(dlnow / dltotal * 100.0);
    }
    if (ultotal != 0) {
        Q_EMIT self.progressUpload(ulnow / ultotal * 100.0);
    }
    return 0;
}
