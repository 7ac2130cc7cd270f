// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "RecordDownload.h"

#include "ServerFolders.h"
#include "SiteRecord.h"

#include <tavrel/FTPCurl.h>

namespace {

/// Far above the record of any site.
constexpr curl_off_t MAX_RECORD_BYTES = curl_off_t { 1 } << 30;

/// libcurl before 8.4 compares with the size that the server announces only.
int limitSize(void* data, double total, double now, double uploadTotal, double uploaded)
{
    return now > static_cast<double>(MAX_RECORD_BYTES) ? 1 : FTPCurl::progress(data, total, now, uploadTotal, uploaded);
}

void setLimit(CURL* easy, bool isLimited)
{
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, isLimited ? MAX_RECORD_BYTES : curl_off_t { 0 });
    curl_easy_setopt(easy, CURLOPT_PROGRESSFUNCTION, isLimited ? limitSize : FTPCurl::progress);
}

} // namespace

bool RecordDownload::fetch(FTPCurl& client)
{
    if (!mLocal.isOpen() && !mLocal.open()) {
        client._setError(ErrorableCode::of(CURLE_WRITE_ERROR));
        return false;
    }
    if (mResult == Result::Unknown) {
        mResult = fetch(client, SiteRecord::FILE_NAME);
        if (mResult == Result::Missing && client.error() != ErrorableCode::of(CURLE_REMOTE_ACCESS_DENIED)) {
            // A run may have ended between the two steps of replacing the record.
            mResult = fetch(client, SiteRecord::NEW_FILE_NAME);
        }
    }
    return mResult != Result::Unknown;
}

RecordDownload::Result RecordDownload::fetch(FTPCurl& client, const char* name)
{
    mName = QString::fromLatin1(name);
    setLimit(client.curlhandle(), true);
    const bool isFetched = client.getFile(mName, mLocal.fileName());
    setLimit(client.curlhandle(), false);
    if (isFetched) {
        return Result::Found;
    }
    if (client.error() == ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK)) {
        client._setError(ErrorableCode::of(CURLE_FILESIZE_EXCEEDED)); // kindOf() looks for an interruption first
    }
    return ServerFolders::isMissing(client) ? Result::Missing : Result::Unknown;
}

RecordPlace RecordDownload::place() const
{
    if (!wasFound()) {
        return RecordPlace::Absent;
    }
    return mName == QLatin1String(SiteRecord::FILE_NAME) ? RecordPlace::InPlace : RecordPlace::Aside;
}

void RecordDownload::read(SiteRecord& record, QString& remark)
{
    int ignoredLines = 0;
    if (wasFound() && !record.read(mLocal, ignoredLines)) {
        remark = QStringLiteral("%1: ignored, not a record of this version").arg(mName);
    } else if (ignoredLines > 0) {
        remark = ignoredLines == 1 ? QStringLiteral("%1: 1 line ignored").arg(mName)
                                   : QStringLiteral("%1: %2 lines ignored").arg(mName).arg(ignoredLines);
    }
}
