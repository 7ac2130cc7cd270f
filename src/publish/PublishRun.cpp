#include "PublishRun.h"

#include "RecordFile.h"

#include <algorithm>
#include <limits>
#include <system_error>
#include <utility>

namespace {

using std::chrono::milliseconds;

/// How soon an interruption is seen.
constexpr milliseconds WATCH_INTERVAL(50);
constexpr int PROGRESS_MS = 100;
/// The record is saved in between, so that an interrupted run is not in vain, at a small part of the time.
constexpr qint64 SAVE_MS = 60000;
constexpr qint64 SAVE_SHARE = 20;
/// A further session costs as much time as some files.
constexpr qint64 FILES_OF_SESSION = 4;
/// Round trips of a listing, by those that one size takes.
constexpr int FTP_FILES_OF_CHECK = 7;
constexpr int SFTP_FILES_OF_CHECK = 2;
constexpr qint64 BYTES_LIKE_A_FILE = qint64 { 1024 } * 1024;

QByteArray rootOf(const QString& folder)
{
    const QByteArray root = folder.toUtf8();
    return root.endsWith('/') ? root : root + '/';
}

} // namespace

PublishRun::PublishRun(
    const FTPSettings& settings, const PublishOptions& options, const QString& folder, Listener listener)
    : mSettings(settings)
    , mOptions(options)
    , mListener(std::move(listener))
    , mRoot(rootOf(folder))
    , mPlanMaker(mRoot, options, mReport, mListener.isInterrupted)
{
    mSinceProgress.start();
}

PublishReport PublishRun::run()
{
    mIsPlanned = plan();
    announcePlan();
    if (mIsPlanned && !mOptions.dryRun) {
        transfer();
        finish();
    } else {
        if (mReport.stopReason.isEmpty()) {
            mReport.stopReason = mPlanMaker.fault();
        }
        reportFiles();
    }
    mReport.wasInterrupted = mListener.isInterrupted();
    return std::move(mReport);
}

bool PublishRun::plan()
{
    std::promise<bool> isLetIn;
    mIsLetIn = isLetIn.get_future().share();
    mFirstSession = std::async([this, isLetIn = std::move(isLetIn)]() mutable {
        auto session = openSession([this](PublishSession& first) { first.connect(mRecord); });
        isLetIn.set_value(FTPFailure::kindOf(session->client()) != FTPFailure::OfServer);
        return session;
    });
    if (!mPlanMaker.readFolder(mPlan)) {
        return false;
    }
    openFurtherSessions();
    return takeFirstSession() && mPlanMaker.readRecord(*mSession, mRecord, mPlan) && mPlanMaker.compare(mPlan)
        && (!mOptions.checkServer || mPlanMaker.checkServer(*mSession, mPlan))
        && (!mOptions.removeObsolete || mPlanMaker.findObsolete(*mSession, mPlan));
}

/// Waits for the first session, which logs in while the folder is read; a server that allows only some sessions may
/// have let in a different session first.
bool PublishRun::takeFirstSession()
{
    mSession = mFirstSession.get();
    while (!mSession->isConnected() && !mComingSessions.empty()) {
        auto other = mComingSessions.front().get();
        mComingSessions.pop_front();
        if (other->isConnected()) {
            mSession = std::move(other);
        }
    }
    const FTPFailure::Kind kind = FTPFailure::kindOf(mSession->client());
    if (kind == FTPFailure::OfServer || !mSession->client().curlhandle()) {
        mReport.stopReason = mListener.isInterrupted() ? QString() : FTPFailure::reasonOf(mSession->client());
        return false;
    }
    return kind != FTPFailure::Interrupted;
}

/// Logging in takes as long as sending some files, so it does not wait for the record to tell what is to be sent. Over
/// SFTP it waits for the first session: servers lock out those who fail several times.
void PublishRun::openFurtherSessions()
{
    qint64 bytes = 0;
    for (const PlannedFile& file : mPlan.files) {
        bytes += file.size;
    }
    const int count = mOptions.dryRun ? 1 : sessionCount(static_cast<qint64>(mPlan.files.size()), bytes);
    try {
        while (static_cast<int>(mComingSessions.size()) < count - 1) {
            mComingSessions.push_back(std::async(std::launch::async, [this, isLetIn = mIsLetIn] {
                const bool mayLogIn = mSettings.ftpProtocol() != FTPSettings::SFTP || isLetIn.get();
                return mayLogIn ? openSession([](PublishSession& session) { session.connect(); })
                                : std::make_unique<PublishSession>();
            }));
        }
    } catch (const std::system_error&) {
        return; // Without another thread there is no other session.
    }
}

/// A session that has tried to log in.
std::unique_ptr<PublishSession> PublishRun::openSession(const std::function<void(PublishSession&)>& connect) const
{
    auto session = std::make_unique<PublishSession>();
    if (session->open(mSettings, mOptions, mListener.prepare)) {
        connect(*session);
    }
    return session;
}

void PublishRun::transfer()
{
    mRecordPlace = mPlanMaker.recordPlace();
    if (needsMarks() && mSession->requestPatiently([this] { return markRecord(); }) != FTPFailure::None) {
        if (!mListener.isInterrupted()) {
            mReport.stopReason = QStringLiteral("%1: %2").arg(
                QString::fromLatin1(SiteRecord::FILE_NAME), FTPFailure::reasonOf(mSession->client()));
        }
        return;
    }
    removeObstacles();
    const auto steps = mTotals.totalFiles + static_cast<qint64>(mPlan.obsolete.size());
    const auto open = qMin(steps, static_cast<qint64>(mComingSessions.size()) + 1);
    const int sessions = qMax(sessionCount(steps, mTotals.totalBytes), static_cast<int>(open));
    mQueue = std::make_unique<TransferQueue>(
        mPlan, sessions, filesOfCheck(), mOptions.uploadMode == FTPCurl::TemporaryName);
    const PublishWorker::Run run { mPlan, *mQueue, mSettings, mOptions, mListener.prepare, mRoot,
        [this](FTPCurl& client) { return saveRecord(client); } };
    std::vector<std::thread> threads;
    startWorkers(threads, run, sessions);
    watch();
    for (std::thread& thread : threads) {
        thread.join();
    }
    deliver(mQueue->takeEvents(milliseconds(0)));
    showProgress(true);
    mReport.stopReason = mQueue->stopReason();
    mSession = takeLastSession();
}

/// The one for the end of the run. The others are closed first: the server may not have room for another connection.
std::unique_ptr<PublishSession> PublishRun::takeLastSession()
{
    std::unique_ptr<PublishSession> last;
    for (const auto& worker : mWorkers) {
        auto session = worker->takeSession();
        const bool isBetter = !last || (session && session->isConnected() && !last->isConnected());
        if (isBetter && !worker->isRetired()) {
            last = std::move(session);
        }
    }
    return last;
}

int PublishRun::sessionCount(qint64 steps, qint64 bytes) const
{
    const qint64 useful = (steps + bytes / BYTES_LIKE_A_FILE) / FILES_OF_SESSION;
    return static_cast<int>(qBound(qint64 { 1 }, useful, qint64 { mOptions.connections }));
}

/// From how many files in a folder on its listing takes fewer round trips than the size of each file.
int PublishRun::filesOfCheck() const
{
    if (mOptions.uploadMode != FTPCurl::InPlace) {
        return std::numeric_limits<int>::max(); // Such an upload verifies the size itself.
    }
    return mSettings.ftpProtocol() == FTPSettings::SFTP ? SFTP_FILES_OF_CHECK : FTP_FILES_OF_CHECK;
}

void PublishRun::startWorkers(std::vector<std::thread>& threads, const PublishWorker::Run& run, int count)
{
    std::promise<std::unique_ptr<PublishSession>> first;
    first.set_value(std::move(mSession));
    mComingSessions.push_front(first.get_future());
    for (int i = 0; i < count; ++i) {
        std::future<std::unique_ptr<PublishSession>> session;
        if (!mComingSessions.empty()) {
            session = std::move(mComingSessions.front());
            mComingSessions.pop_front();
        }
        mWorkers.push_back(std::make_unique<PublishWorker>(run, i, std::move(session)));
        try {
            threads.emplace_back([worker = mWorkers.back().get()] { worker->work(); });
        } catch (const std::system_error& error) {
            mQueue->sessionEnded();
            if (!mQueue->retire()) {
                mQueue->stop(QString::fromLocal8Bit(error.what()));
            }
        }
    }
}

/// Until all workers have ended.
void PublishRun::watch()
{
    QElapsedTimer sinceSave;
    sinceSave.start();
    while (!mQueue->hasEnded()) {
        deliver(mQueue->takeEvents(WATCH_INTERVAL));
        showProgress(false);
        if (mListener.isInterrupted()) {
            mQueue->stop(QString());
        }
        if (sinceSave.elapsed() > SAVE_MS + SAVE_SHARE * mSaveTime) {
            mQueue->requestSave();
            sinceSave.restart();
        }
    }
}

void PublishRun::deliver(const std::vector<TransferQueue::Event>& events)
{
    for (const TransferQueue::Event& event : events) {
        if (event.outcome == FolderPublisher::Failed) {
            mReport.failed.append({ event.path, event.reason });
        }
        mListener.fileFinished(event.path, event.outcome, event.reason);
    }
}

void PublishRun::showProgress(bool isLast)
{
    if (!isLast && mSinceProgress.elapsed() < PROGRESS_MS) {
        return;
    }
    mSinceProgress.restart();
    PublishProgress progress = mTotals;
    progress.files = mQueue->filesFinished();
    progress.bytes = qMin(mQueue->bytes(), progress.totalBytes);
    mRate.measure(progress);
    mListener.progress(progress);
}

void PublishRun::finish()
{
    reportFiles();
    const bool isOutdated = mIsRecordWritten || !mReport.sent.isEmpty() || mPlanMaker.isRecordOutdated();
    // Without the final record, later runs send again what this one has sent.
    const bool isReachable = mSession && (mReport.stopReason.isEmpty() || mSession->isConnected());
    if (mListener.isInterrupted() || !isReachable) {
        return;
    }
    removeEmptyFolders();
    const auto save = [this] { return completeRecord(); };
    const bool isSaved = !isOutdated || mSession->requestPatiently(save) == FTPFailure::None;
    if (!isSaved && mReport.stopReason.isEmpty() && !mListener.isInterrupted()) {
        mReport.failed.append({ QString::fromLatin1(SiteRecord::FILE_NAME), FTPFailure::reasonOf(mSession->client()) });
    }
    // A run that only appends saves the listing.
    if (isSaved && mIsRecordReplaced && mRecord.wasFound()) {
        RecordFile(mSession->client()).removeLeftOvers(mRecordPlace);
    }
}
