#pragma once

#include "PublishSession.h"
#include "ServerFolders.h"
#include "TransferQueue.h"
#include "UploadSource.h"

#include <QStringList>

#include <functional>
#include <future>
#include <memory>
#include <set>
#include <utility>

/// Works through the tasks of a run on one session.
class PublishWorker
{
public:
    struct Run
    {
        PublishPlan& plan;
        TransferQueue& queue;
        const FTPSettings& settings;
        const PublishOptions& options;
        const PublishSession::Prepare& prepare;
        QByteArray root; ///< the local folder; ends in a slash
        std::function<bool(FTPCurl&)> saveRecord;
    };

    /// The session is one that has tried to log in, or is still about to. Without one the worker opens its own.
    PublishWorker(const Run& run, int number, std::future<std::unique_ptr<PublishSession>> session);

    /// Until the queue has no more tasks, or the server does not want this session.
    void work();

    /// After work().
    std::unique_ptr<PublishSession> takeSession() { return std::move(mSession); }
    bool isRetired() const { return mIsRetired; }
    /// Whether it ended because the server did not let its session in, after work().
    bool isTurnedAway() const { return mIsTurnedAway; }
    /// Files whose upload was begun and did not end well, after work().
    const QStringList& incomplete() const { return mIncomplete; }
    /// Whether the server has refused the modification time of a file, after work().
    bool hasLostTimes() const { return mHasLostTimes; }

private:
    /// Whether the worker goes on with a further task.
    enum class Next { GoOn, Retire };
    /// A request, or several, of which the last one decides.
    using Step = std::function<FTPFailure::Kind()>;

    bool openSession();
    Next perform(const TransferQueue::Task& task);
    FTPFailure::Kind attempt(const Step& step, int failures = 0);
    void retire();
    void noteFailure(FTPFailure::Kind kind);
    bool isFull();

    FTPFailure::Kind makeFolder(int folder);
    FTPFailure::Kind sendFile(int file);
    FTPFailure::Kind checkFolder(int folder);
    FTPFailure::Kind removeFile(int obsolete);

    FTPFailure::Kind create(const QString& folder);
    FTPFailure::Kind confirmFolder(const QString& folder);
    void removeParts(int folder, const ServerFolders::Entries& entries);
    FTPFailure::Kind upload(int file, const QString& path, UploadSource& source);
    FTPFailure::Kind uploadOnce(int file, const QString& path, UploadSource& source);
    FTPFailure::Kind setTime(const QString& path, const QDateTime& time);
    bool createMissing(int folder);
    FTPFailure::Kind confirm(int file);

    const Run& mRun;
    int mNumber;
    std::future<std::unique_ptr<PublishSession>> mComingSession;
    std::unique_ptr<PublishSession> mSession;
    QString mReason; ///< of the last failure
    bool mIsRetired = false;
    bool mIsTurnedAway = false;
    bool mHasLostTimes = false;
    std::set<int> mAskedFolders; ///< that were found to exist, or created, after a failure in them
    QStringList mIncomplete;
};
