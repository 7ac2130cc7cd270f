#include "HTTPCurlState.h"
#include "PartialFile.h"

#include <QScopedValueRollback>

bool HTTPCurl::resumeFile(const QString& url, const QString& path)
{
    if (!checkIdle()) {
        return false;
    }
    PartialFile file(path, url);
    const QScopedValueRollback<PartialFile*> resumed(mState->partialFile, &file);
    const bool continues = file.offset() > 0;
    bool success = getDataRaw(url, file);
    if (!success && continues && file.isRefused() && !isInterruptionRequested()) {
        file.startAnew();
        success = getDataRaw(url, file);
    }
    if (success) {
        PartialFile::removeRecord(path);
    }
    return success;
}

/// Sets the range of a request that continues a download, and returns the header that goes with it.
curl_slist* HTTPCurl::requestRest(CURL* handle)
{
    if (!mState->partialFile) {
        return nullptr;
    }
    // The answer of a proxy to CONNECT is not that of the server.
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (mState->partialFile->offset() == 0) {
        return nullptr;
    }
    curl_easy_setopt(handle, CURLOPT_RANGE, (QByteArray::number(mState->partialFile->offset()) + '-').constData());
    return curl_slist_append(nullptr, ("If-Range: " + mState->partialFile->validator()).constData());
}
