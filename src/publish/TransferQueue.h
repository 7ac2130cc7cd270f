#pragma once

#include "PublishPlan.h"

#include <tavrel/FolderPublisher.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <queue>
#include <utility>
#include <vector>

/**
 * Distributes the steps of a run to its sessions.
 *
 * A folder is created before what is in it; large files go to every other session first, the largest one in front, so
 * that the others keep busy with small files. Where many files of a folder are sent, one listing verifies their sizes.
 * Removals come last. All functions may be called from any thread.
 */
class TransferQueue
{
public:
    struct Task
    {
        enum Kind { MakeFolder, SendFile, CheckFolder, RemoveFile, SaveRecord };

        Kind kind = SendFile;
        int index = 0; ///< of the folder, file or obsolete file
    };

    struct Event
    {
        QString path;
        FolderPublisher::Outcome outcome = FolderPublisher::Sent;
        QString reason;
    };

    /// The plan outlives the queue, and other code reads it only under lock() while sessions run. A folder
    /// with so many files to send is verified by a CheckFolder task; in others, the upload verifies each file. With
    /// checksAll there is such a task for each folder in which files were sent.
    TransferQueue(PublishPlan& plan, int sessions, int filesOfCheck, bool checksAll);

    /// The next task of a session; waits for one, and is empty when all is done or the run has stopped.
    std::optional<Task> take(int session);

    /// A task ends with one of these.
    void folderReady(int folder);
    void folderFailed(int folder, const QString& reason);
    /// With what was sent, as the file may have changed since the plan.
    void fileArrived(int file, qint64 size, const Digest& digest);
    void fileSent(int file);
    void fileFailed(int file, const QString& reason);
    /// The file is to be sent again.
    void fileNotWhole(int file);
    void obsoleteRemoved(int obsolete);
    void obsoleteFailed(int obsolete, const QString& reason);
    void folderChecked();
    void recordSaved();
    /// Nothing was done; another session does it.
    void giveBack(const Task& task);

    /// Whether a CheckFolder task verifies a file, at its first attempt.
    bool isCheckedByListing(int file) const;
    /// The files of a folder that have arrived and are not verified.
    std::vector<int> arrivedFiles(int folder) const;
    /// The names of the files of a folder that are on the server, as far as is known.
    QStringList filesOnServer(int folder) const;
    /// Asks one session to save the record, unless one does so or is about to.
    void requestSave();

    /// Takes a session out, unless it is the last one.
    bool retire();
    /// Whether the connection broke for so many files in a row that further ones are pointless.
    bool isHopeless() const { return mBrokenInRow >= MAX_BROKEN_IN_ROW; }
    void noteBroken() { ++mBrokenInRow; }
    /// Notes that the server refused the size of a file; true if it did so for so many in a row that it must be full.
    /// Until a file arrives, small files are next: they tell a full server from a limit for large files.
    bool noteRefusedSize() { return ++mRefusedSizesInRow >= MAX_REFUSED_SIZES_IN_ROW; }
    /// Ends the run; sessions finish their tasks. The first reason stays; it is empty for an interruption.
    void stop(const QString& reason);
    bool isStopped() const { return mIsStopped; }
    QString stopReason() const;

    /// The bytes of the file that a session is sending.
    void setCurrent(int session, qint64 bytes) { mCurrent[session] = bytes; }
    qint64 bytes() const;
    int filesFinished() const { return mFilesFinished; }
    /// The events since the last call; waits for one up to the time.
    std::vector<Event> takeEvents(std::chrono::milliseconds time);
    /// Each session tells its end.
    void sessionEnded();
    bool hasEnded() const { return mRunning == 0; }

    std::unique_lock<std::mutex> lock() const { return std::unique_lock<std::mutex>(mMutex); }

private:
    static constexpr int MAX_BROKEN_IN_ROW = 3;
    static constexpr int MAX_REFUSED_SIZES_IN_ROW = 3;
    static constexpr qint64 LARGE_BYTES = qint64 { 256 } * 1024;

    struct FolderState
    {
        std::vector<int> children;
        int filesToSend = 0; ///< below, too
        int unsettled = 0; ///< files in it whose first attempt is not over
        bool isListed = false;
    };

    void countFiles(int filesOfCheck);
    void openFolder(int folder);
    void push(int file);
    int popFile(bool prefersLarge);
    std::optional<Task> next(int session);
    void settle(PlannedFile& file, PlannedFile::State state, FolderPublisher::Outcome outcome, const QString& reason);
    bool isCheckedByListing(const PlannedFile& file) const;
    void leaveFolder(PlannedFile& file);
    void endRemoval(const ObsoleteFile& file, FolderPublisher::Outcome outcome, const QString& reason);
    void report(const QString& path, FolderPublisher::Outcome outcome, const QString& reason);
    void skip(int folder);

    PublishPlan& mPlan;
    std::vector<FolderState> mFolders;
    bool mChecksAll;
    mutable std::mutex mMutex;
    std::condition_variable mChanged; ///< for sessions
    std::condition_variable mHappened; ///< for the thread that reports
    std::vector<Task> mReturned;
    std::deque<int> mFoldersToMake;
    std::deque<int> mFoldersToCheck;
    std::priority_queue<std::pair<qint64, int>> mLargeFiles;
    std::deque<int> mSmallFiles;
    std::deque<int> mToRemove;
    bool mIsSaveDue = false;
    bool mIsSaving = false;
    int mOpen = 0; ///< steps, except removals, that are not finished
    int mRemovals = 0; ///< that are not finished
    int mSessions;
    std::atomic<int> mRunning;
    std::vector<Event> mEvents;
    QString mStopReason;
    std::atomic<bool> mIsStopped { false };
    std::atomic<int> mBrokenInRow { 0 };
    std::atomic<int> mRefusedSizesInRow { 0 };
    std::atomic<int> mFilesFinished { 0 };
    std::atomic<qint64> mFinishedBytes { 0 };
    std::array<std::atomic<qint64>, FolderPublisher::MAX_CONNECTIONS> mCurrent {};
};
