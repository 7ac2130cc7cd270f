#include "PublishRun.h"
#include "RecordFile.h"

#include <QTemporaryFile>

#include <algorithm>

namespace {

/// A record is written anew rather than appended to when more of it changes.
constexpr qint64 MIN_LINES_PER_APPENDED = 20;

} // namespace

/// Whether the record holds files that are about to change, or is one that this run does not build on.
bool PublishRun::needsMarks() const
{
    if (mPlanMaker.isRecordOutdated() && mTotals.totalFiles > 0) {
        return true;
    }
    return !mPlan.obsolete.empty() || std::any_of(mPlan.files.begin(), mPlan.files.end(), [](const PlannedFile& file) {
        return file.state == PlannedFile::ToSend && file.recordedSize >= 0;
    });
}

/// Before anything changes. A record that was found under a second name, or was not understood, is written anew; so is
/// one with files to remove, whose names a neighbour on the server may have chosen.
bool PublishRun::markRecord()
{
    FTPCurl& client = mSession->client();
    client.setUploadMode(FTPCurl::InPlace);
    client.setVerifyUploads(false);
    const bool isMarked = !mPlanMaker.isRecordOutdated() && mPlan.obsolete.empty() && RecordFile(client).mark(mPlan);
    client.setUploadMode(mOptions.uploadMode);
    mIsRecordWritten = true;
    mCanAppend = isMarked;
    return isMarked || (FTPFailure::kindOf(client) != FTPFailure::Interrupted && saveRecord(client));
}

/// After the last change. A few lines are appended to a record that holds nothing that is not true any more.
bool PublishRun::completeRecord()
{
    FTPCurl& client = mSession->client();
    const auto sent = static_cast<qint64>(mReport.sent.size());
    const bool isAppended = mRecordPlace.isInPlace && mCanAppend && !mPlanMaker.isRecordOutdated()
        && mPlan.obsolete.empty() && sent * MIN_LINES_PER_APPENDED <= static_cast<qint64>(mPlan.files.size());
    if (!isAppended) {
        return saveRecord(client);
    }
    client.setUploadMode(FTPCurl::InPlace);
    client.setVerifyUploads(false);
    return RecordFile(client).addSent(mPlan)
        || (FTPFailure::kindOf(client) != FTPFailure::Interrupted && saveRecord(client));
}

bool PublishRun::saveRecord(FTPCurl& client)
{
    QElapsedTimer time;
    time.start();
    QTemporaryFile local;
    bool isWritten = local.open();
    {
        const auto guard = mQueue ? mQueue->lock() : std::unique_lock<std::mutex>();
        isWritten = isWritten && RecordFile::format(mPlan, local);
    }
    if (!isWritten) {
        client._setError(ErrorableCode::of(CURLE_WRITE_ERROR));
        return false;
    }
    client.setUploadMode(FTPCurl::InPlace); // the record has second names of its own
    // A record that is cut off is one that knows less. Without a time-out, it could also be the old one.
    client.setVerifyUploads(mOptions.stallTimeOut == 0);
    isWritten = RecordFile(client).write(local.fileName(), mRecordPlace); // one session at a time writes the record
    client.setUploadMode(mOptions.uploadMode);
    mIsRecordWritten = true;
    mIsRecordReplaced = true;
    mSaveTime = time.elapsed();
    return isWritten;
}
