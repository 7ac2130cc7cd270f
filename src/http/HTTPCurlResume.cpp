#include "HTTPCurlState.h"
#include "PartialFile.h"

#include <QScopedValueRollback>

namespace {

constexpr long RANGE_NOT_SATISFIABLE = 416;

} // namespace

bool HTTPCurl::resumeFile(const QString& url, const QString& path)
{
    if (!checkIdle()) {
        return false;
    }
    PartialFile file(path, url);
    const QScopedValueRollback<PartialFile*> resumed(mState->partialFile, &file);
    const bool continues = file.offset() > 0;
    bool success = getDataRaw(url, file);
    const bool isRefused = file.isRefused() || mState->responseCode == RANGE_NOT_SATISFIABLE;
    if (!success && continues && isRefused && !isInterruptionRequested()) {
        file.startAnew();
        success = getDataRaw(url, file);
    }
    if (success) {
        PartialFile::removeRecord(path);
    }
    return success;
}

curl_slist* HTTPCurl::State::requestRest(CURL* handle)
{
    if (!partialFile) {
        return nullptr;
    }
    // The answer of a proxy to CONNECT is not an answer of the server.
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (partialFile->offset() == 0) {
        return nullptr;
    }
    curl_easy_setopt(handle, CURLOPT_RANGE, (QByteArray::number(partialFile->offset()) + '-').constData());
    return curl_slist_append(nullptr, ("If-Range: " + partialFile->validator()).constData());
}
