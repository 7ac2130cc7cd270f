// The progress callback is the older one of two, which newer versions of libcurl mark as deprecated.
#define CURL_DISABLE_DEPRECATION

#include "RecordDownload.h"

#include "RecordFile.h"
#include "ServerFolders.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPFailure.h>

namespace {

/// Far above the record of any site.
constexpr curl_off_t MAX_RECORD_BYTES = curl_off_t { 1 } << 30;
/// Far above what killed runs leave.
constexpr int MAX_SECOND_NAMES = 8;

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
    if (mResult == Result::TooLarge) {
        client._setError(ErrorableCode::of(CURLE_FILESIZE_EXCEEDED)); // again, without the download
        return false;
    }
    if (mResult == Result::Unknown) {
        mPlace = {};
        mLocals.clear();
        mResult = fetchFile(client, QString::fromLatin1(SiteRecord::FILE_NAME));
        mPlace.isInPlace = mResult == Result::Found;
        const bool isFolderMissing = client.error() == ErrorableCode::of(CURLE_REMOTE_ACCESS_DENIED);
        if (mResult == Result::Missing && !isFolderMissing && !fetchSecondNames(client)) {
            mResult = Result::Unknown;
        }
    }
    return mResult == Result::Missing || mResult == Result::Found;
}

/// A run may have ended between the steps of replacing the record. A server that does not list the folder has not left
/// one there.
bool RecordDownload::fetchSecondNames(FTPCurl& client)
{
    QStringList names = RecordFile::namesOnServer(client);
    if (names.isEmpty()) {
        const FTPFailure::Kind kind = FTPFailure::kindOf(client);
        return kind == FTPFailure::None || kind == FTPFailure::OfPath;
    }
    names.sort(); // A neighbour on the server can make any number of them.
    for (const QString& name : names.mid(0, MAX_SECOND_NAMES)) {
        const Result result = fetchFile(client, name);
        if (result == Result::Unknown || result == Result::TooLarge) {
            return false;
        }
        mResult = result == Result::Found ? Result::Found : mResult;
    }
    mPlace.secondNames = names;
    return true;
}

RecordDownload::Result RecordDownload::fetchFile(FTPCurl& client, const QString& name)
{
    QTemporaryFile& local = mLocals.emplace_back();
    if (!local.open()) {
        client._setError(ErrorableCode::of(CURLE_WRITE_ERROR));
        return Result::Unknown;
    }
    setLimit(client.curlhandle(), true);
    const bool isFetched = client.getFile(name, local.fileName());
    setLimit(client.curlhandle(), false);
    if (isFetched) {
        return Result::Found;
    }
    mLocals.pop_back();
    const bool isStopped
        = client.error() == ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK) && !client.isInterruptionRequested();
    if (isStopped || client.error() == ErrorableCode::of(CURLE_FILESIZE_EXCEEDED)) {
        client._setError(ErrorableCode::of(CURLE_FILESIZE_EXCEEDED));
        return Result::TooLarge;
    }
    return ServerFolders::isMissing(client) ? Result::Missing : Result::Unknown;
}

bool RecordDownload::read(SiteRecord& record, QString& remark)
{
    const QString name = QString::fromLatin1(SiteRecord::FILE_NAME);
    int ignoredLines = 0;
    for (QTemporaryFile& local : mLocals) {
        int ignored = 0;
        const bool isRecord = record.read(local, ignored);
        if (local.error() != QFileDevice::NoError) {
            remark = QStringLiteral("%1: the download cannot be read: %2").arg(name, local.errorString());
            return false;
        }
        if (!isRecord) {
            remark = QStringLiteral("%1: ignored, not a record of this version").arg(name);
        }
        ignoredLines += ignored;
    }
    if (mLocals.size() > 1) {
        record.distrust();
    }
    if (ignoredLines > 0) {
        remark = ignoredLines == 1 ? QStringLiteral("%1: 1 line ignored").arg(name)
                                   : QStringLiteral("%1: %2 lines ignored").arg(name).arg(ignoredLines);
    }
    return true;
}
