#pragma once

#include "PlanMaker.h"
#include "PublishSession.h"
#include "PublishWorker.h"
#include "RateMeter.h"
#include "TransferQueue.h"

#include <QElapsedTimer>

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <thread>
#include <vector>

/// One run of a FolderPublisher, on the publisher's thread: plans what is to be done, has it done by workers, and
/// reports.
class PublishRun
{
public:
    /// All but prepare are called on the thread of run().
    struct Listener
    {
        PublishSession::Prepare prepare;
        std::function<bool()> isInterrupted;
        std::function<void(const PublishProgress&)> progress;
        std::function<void(const QString&, FolderPublisher::Outcome, const QString&)> fileFinished;
    };

    PublishRun(const FTPSettings& settings, const PublishOptions& options, const QString& folder, Listener listener);

    PublishReport run();

private:
    bool plan();
    bool takeFirstSession();
    void openFurtherSessions();
    std::unique_ptr<PublishSession> openSession(const std::function<void(PublishSession&)>& connect) const;
    /// Whether what the plan holds is all that this run does.
    bool isShown() const { return mOptions.dryRun && mIsPlanned; }
    void announcePlan();
    bool needsMarks() const;
    bool markRecord();
    bool completeRecord();
    bool saveRecord(FTPCurl& client);

    void transfer();
    int filesOfCheck() const;
    int sessionCount(qint64 steps, qint64 bytes) const;
    void startWorkers(std::vector<std::thread>& threads, const PublishWorker::Run& run, int count);
    void watch();
    std::unique_ptr<PublishSession> takeLastSession();
    void deliver(const std::vector<TransferQueue::Event>& events);
    void showProgress(bool isLast);

    void finish();
    std::vector<ObsoleteFile*> findObstacles();
    void removeObstacles();
    void removeEmptyFolders();
    void reportFiles();
    void remarkOnServer();

    const FTPSettings& mSettings;
    const PublishOptions& mOptions;
    Listener mListener;
    QByteArray mRoot;
    PublishReport mReport;
    PublishPlan mPlan;
    PlanMaker mPlanMaker;
    RecordDownload mRecord;
    std::shared_future<bool> mIsLetIn; ///< whether the server has not refused the first session
    std::future<std::unique_ptr<PublishSession>> mFirstSession; // after the record, which it uses
    std::unique_ptr<PublishSession> mSession;
    std::deque<std::future<std::unique_ptr<PublishSession>>> mComingSessions;
    std::unique_ptr<TransferQueue> mQueue;
    std::vector<std::unique_ptr<PublishWorker>> mWorkers;
    std::set<QByteArray> mEmptied; ///< folders on the server whose removal was tried
    bool mIsPlanned = false;
    PublishProgress mTotals;
    RateMeter mRate;
    QElapsedTimer mSinceProgress;
    std::atomic<bool> mIsRecordWritten { false };
    std::atomic<bool> mIsRecordReplaced { false };
    RecordPlace mRecordPlace; ///< used by one session at a time
    bool mCanAppend = true; ///< to the record, as far as is known
    std::atomic<qint64> mSaveTime { 0 }; ///< of the last one, in milliseconds
};
