#include "TransferQueue.h"

#include <numeric>

TransferQueue::TransferQueue(PublishPlan& plan, int sessions, int filesOfCheck, bool checksAll)
    : mPlan(plan)
    , mFolders(plan.folders.size())
    , mChecksAll(checksAll)
    , mSessions(sessions)
    , mRunning(sessions)
{
    countFiles(filesOfCheck);
    for (std::size_t i = 0; i < mPlan.obsolete.size(); ++i) {
        if (!mPlan.obsolete[i].isRemoved) {
            mToRemove.push_back(static_cast<int>(i));
        }
    }
    mRemovals = static_cast<int>(mToRemove.size());
    if (!mFolders.empty()) {
        openFolder(0);
    }
}

void TransferQueue::countFiles(int filesOfCheck)
{
    for (const PlannedFile& file : mPlan.files) {
        if (file.state == PlannedFile::ToSend) {
            ++mFolders[file.folder].unsettled;
        }
    }
    // Children stand behind their parents.
    for (std::size_t i = mFolders.size(); i-- > 0;) {
        FolderState& folder = mFolders[i];
        folder.filesToSend += folder.unsettled;
        folder.isListed = folder.unsettled >= filesOfCheck;
        mOpen += folder.unsettled;
        const int parent = mPlan.folders[i].parent;
        const bool isWanted = folder.filesToSend > 0 || !folder.children.empty() || !mPlan.folders[i].isPresumed;
        if (parent >= 0 && isWanted) {
            mFolders[parent].filesToSend += folder.filesToSend;
            mFolders[parent].children.push_back(static_cast<int>(i));
        }
    }
}

/// The parent exists.
void TransferQueue::openFolder(int folder)
{
    if (!mPlan.folders[folder].isPresumed) {
        ++mOpen;
        mFoldersToMake.push_back(folder);
        return;
    }
    const PlannedFolder& planned = mPlan.folders[folder];
    for (int i = planned.firstFile; i < planned.firstFile + planned.fileCount; ++i) {
        if (mPlan.files[i].state == PlannedFile::ToSend) {
            push(i);
        }
    }
    for (const int child : mFolders[folder].children) {
        openFolder(child);
    }
}

void TransferQueue::push(int file)
{
    const qint64 size = mPlan.files[file].size;
    if (size >= LARGE_BYTES) {
        mLargeFiles.emplace(size, file);
    } else {
        mSmallFiles.push_back(file);
    }
}

int TransferQueue::popFile(bool prefersLarge)
{
    int file = -1;
    if (!mLargeFiles.empty() && (prefersLarge || mSmallFiles.empty())) {
        file = mLargeFiles.top().second;
        mLargeFiles.pop();
    } else if (!mSmallFiles.empty()) {
        file = mSmallFiles.front();
        mSmallFiles.pop_front();
    }
    return file;
}

std::optional<TransferQueue::Task> TransferQueue::take(int session)
{
    std::unique_lock<std::mutex> guard(mMutex);
    while (!mIsStopped) {
        if (const auto task = next(session)) {
            return task;
        }
        if (mOpen + mRemovals == 0) {
            mChanged.notify_all();
            break;
        }
        mChanged.wait(guard);
    }
    return std::nullopt;
}

std::optional<TransferQueue::Task> TransferQueue::next(int session)
{
    const auto pop = [](std::deque<int>& from, Task::Kind kind) {
        const Task task { kind, from.front() };
        from.pop_front();
        return task;
    };
    if (!mReturned.empty()) {
        const Task task = mReturned.back();
        mReturned.pop_back();
        return task;
    }
    if (mIsSaveDue) {
        mIsSaveDue = false;
        mIsSaving = true;
        ++mOpen;
        return Task { Task::SaveRecord, 0 };
    }
    if (!mFoldersToMake.empty()) {
        return pop(mFoldersToMake, Task::MakeFolder);
    }
    if (!mFoldersToCheck.empty()) {
        return pop(mFoldersToCheck, Task::CheckFolder);
    }
    const int file = popFile(session % 2 == 0 && mRefusedSizesInRow == 0);
    if (file >= 0) {
        return Task { Task::SendFile, file };
    }
    return mOpen == 0 && !mToRemove.empty() ? std::optional<Task>(pop(mToRemove, Task::RemoveFile)) : std::nullopt;
}

void TransferQueue::folderReady(int folder)
{
    const auto guard = lock();
    mPlan.folders[folder].isPresumed = true;
    openFolder(folder);
    --mOpen;
    mChanged.notify_all();
}

void TransferQueue::folderFailed(int folder, const QString& reason)
{
    const auto guard = lock();
    --mOpen;
    skip(folder);
    report(QString::fromUtf8(mPlan.folders[folder].path), FolderPublisher::Failed, reason);
    mChanged.notify_all();
}

/// The files of a folder, and of those in it, cannot be sent.
void TransferQueue::skip(int folder)
{
    const PlannedFolder& planned = mPlan.folders[folder];
    for (int i = planned.firstFile; i < planned.firstFile + planned.fileCount; ++i) {
        if (mPlan.files[i].state == PlannedFile::ToSend) {
            mPlan.files[i].state = PlannedFile::NotTried;
            --mOpen;
        }
    }
    for (const int child : mFolders[folder].children) {
        skip(child);
    }
}

void TransferQueue::fileArrived(int file, qint64 size, const Digest& digest)
{
    const auto guard = lock();
    PlannedFile& planned = mPlan.files[file];
    planned.size = size;
    planned.digest = digest;
    mBrokenInRow = 0;
    mRefusedSizesInRow = 0;
    if (isCheckedByListing(planned)) {
        planned.state = PlannedFile::Arrived;
        mFinishedBytes += planned.size;
        leaveFolder(planned);
    } else {
        settle(planned, PlannedFile::Sent, FolderPublisher::Sent, QString());
    }
}

void TransferQueue::fileSent(int file)
{
    const auto guard = lock();
    settle(mPlan.files[file], PlannedFile::Sent, FolderPublisher::Sent, QString());
}

void TransferQueue::fileFailed(int file, const QString& reason)
{
    const auto guard = lock();
    settle(mPlan.files[file], PlannedFile::Failed, FolderPublisher::Failed, reason);
}

void TransferQueue::fileNotWhole(int file)
{
    const auto guard = lock();
    mPlan.files[file].state = PlannedFile::ToSend;
    mFinishedBytes -= mPlan.files[file].size;
    push(file);
    mChanged.notify_one();
}

void TransferQueue::settle(
    PlannedFile& file, PlannedFile::State state, FolderPublisher::Outcome outcome, const QString& reason)
{
    if (file.state != PlannedFile::Arrived) {
        mFinishedBytes += file.size;
    }
    file.state = state;
    leaveFolder(file);
    ++mFilesFinished;
    report(mPlan.path(file), outcome, reason);
    if (--mOpen == 0) {
        mChanged.notify_all();
    }
}

void TransferQueue::leaveFolder(PlannedFile& file)
{
    if (file.hasLeftFolder) {
        return;
    }
    file.hasLeftFolder = true;
    FolderState& folder = mFolders[file.folder];
    if (--folder.unsettled == 0 && (folder.isListed || mChecksAll)) {
        ++mOpen;
        mFoldersToCheck.push_back(file.folder);
        mChanged.notify_one();
    }
}

bool TransferQueue::isCheckedByListing(const PlannedFile& file) const
{
    return mFolders[file.folder].isListed && !file.hasLeftFolder;
}

bool TransferQueue::isCheckedByListing(int file) const
{
    const auto guard = lock();
    return isCheckedByListing(mPlan.files[file]);
}

std::vector<int> TransferQueue::arrivedFiles(int folder) const
{
    const auto guard = lock();
    const PlannedFolder& planned = mPlan.folders[folder];
    std::vector<int> files;
    for (int i = planned.firstFile; i < planned.firstFile + planned.fileCount; ++i) {
        if (mPlan.files[i].state == PlannedFile::Arrived) {
            files.push_back(i);
        }
    }
    return files;
}

QStringList TransferQueue::filesOnServer(int folder) const
{
    const auto guard = lock();
    const PlannedFolder& planned = mPlan.folders[folder];
    QStringList names;
    for (int i = planned.firstFile; i < planned.firstFile + planned.fileCount; ++i) {
        if (mPlan.files[i].isOnServer()) {
            names << QString::fromUtf8(mPlan.name(mPlan.files[i]));
        }
    }
    return names;
}

void TransferQueue::folderChecked()
{
    const auto guard = lock();
    --mOpen;
    mChanged.notify_all();
}

void TransferQueue::recordSaved()
{
    const auto guard = lock();
    mIsSaving = false;
    --mOpen;
    mChanged.notify_all();
}

void TransferQueue::obsoleteRemoved(int obsolete)
{
    const auto guard = lock();
    ObsoleteFile& file = mPlan.obsolete[obsolete];
    file.isRemoved = true;
    mPlan.others.take(file.path);
    endRemoval(file, FolderPublisher::Removed, QString());
}

void TransferQueue::obsoleteFailed(int obsolete, const QString& reason)
{
    const auto guard = lock();
    endRemoval(mPlan.obsolete[obsolete], FolderPublisher::Failed, reason);
}

void TransferQueue::endRemoval(const ObsoleteFile& file, FolderPublisher::Outcome outcome, const QString& reason)
{
    report(QString::fromUtf8(file.path), outcome, reason);
    if (--mRemovals == 0) {
        mChanged.notify_all();
    }
}

void TransferQueue::giveBack(const Task& task)
{
    const auto guard = lock();
    mReturned.push_back(task);
    mChanged.notify_one();
}

void TransferQueue::requestSave()
{
    const auto guard = lock();
    mIsSaveDue = !mIsSaving;
    mChanged.notify_one();
}

bool TransferQueue::retire()
{
    const auto guard = lock();
    return mSessions > 1 && --mSessions > 0;
}

void TransferQueue::stop(const QString& reason)
{
    const auto guard = lock();
    if (mStopReason.isEmpty()) {
        mStopReason = reason;
    }
    mIsStopped = true;
    mChanged.notify_all();
}

QString TransferQueue::stopReason() const
{
    const auto guard = lock();
    return mStopReason;
}

qint64 TransferQueue::bytes() const
{
    return std::accumulate(mCurrent.begin(), mCurrent.end(), mFinishedBytes.load(),
        [](qint64 sum, const std::atomic<qint64>& bytes) { return sum + bytes.load(); });
}

void TransferQueue::report(const QString& path, FolderPublisher::Outcome outcome, const QString& reason)
{
    mEvents.push_back({ path, outcome, reason });
    mHappened.notify_one();
}

std::vector<TransferQueue::Event> TransferQueue::takeEvents(std::chrono::milliseconds time)
{
    auto guard = lock();
    mHappened.wait_for(guard, time, [this] { return !mEvents.empty() || mRunning == 0; });
    return std::exchange(mEvents, {});
}

void TransferQueue::sessionEnded()
{
    const auto guard = lock();
    --mRunning;
    mHappened.notify_one();
}
