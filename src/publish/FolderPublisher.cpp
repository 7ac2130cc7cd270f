#include <tavrel/FolderPublisher.h>

#include "PathFilter.h"
#include "PublishRun.h"

#include <tavrel/FTPSettings.h>
#include <tavrel/PeerTrust.h>

#include <foundation/FutureResult.h>
#include <logging/LogUtils.h>

#include <algorithm>
#include <mutex>

namespace {

constexpr int MAX_STALL_SECONDS = 24 * 60 * 60;

} // namespace

struct FolderPublisher::State
{
    PublishOptions options;
    PublishOptions optionsOfRun;
    FTPSettings settings;
    QString folder;
    std::unique_ptr<FutureResult> result; ///< of the run; null without a future

    mutable std::mutex mutex; ///< guards what follows
    bool isPublishing = false;
    PublishReport report;
};

FolderPublisher::FolderPublisher(QObject* parent)
    : Thread(parent)
    , mState(new State)
{
    qRegisterMetaType<PublishProgress>();
    qRegisterMetaType<FolderPublisher::Outcome>("FolderPublisher::Outcome");
}

FolderPublisher::~FolderPublisher()
{
    interruptAndWait();
}

bool FolderPublisher::publish(const FTPSettings& settings, const QString& folder)
{
    return begin(settings, folder, nullptr);
}

QFuture<bool> FolderPublisher::publishAsync(const FTPSettings& settings, const QString& folder)
{
    auto result = std::make_unique<FutureResult>();
    QFuture<bool> future = result->future();
    begin(settings, folder, std::move(result));
    return future;
}

bool FolderPublisher::begin(const FTPSettings& settings, const QString& folder, std::unique_ptr<FutureResult> result)
{
    {
        const std::lock_guard<std::mutex> guard(mState->mutex);
        if (!mState->isPublishing && QThread::currentThread() != this) {
            mState->isPublishing = true;
        } else {
            LogUtils log(LogUtils::Warning, __FILE__, "publish", __LINE__);
            log << "a run has not ended, not started: " << folder;
            log.checkSpacing();
            return false;
        }
    }
    wait(); // The previous run has emitted done(), but may not have returned yet.
    mState->optionsOfRun = mState->options;
    mState->settings = settings;
    mState->folder = folder;
    mState->result = std::move(result);
    start();
    const bool hasThread = isRunning() || isFinished();
    if (!hasThread) {
        mState->result.reset();
        const std::lock_guard<std::mutex> guard(mState->mutex);
        mState->isPublishing = false;
    }
    return hasThread;
}

bool FolderPublisher::isPublishing() const
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    return mState->isPublishing;
}

PublishReport FolderPublisher::report() const
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    return mState->report;
}

bool FolderPublisher::setConnections(int connections)
{
    const bool isValid = connections >= 1 && connections <= MAX_CONNECTIONS;
    if (isValid) {
        mState->options.connections = connections;
    }
    return isValid;
}

int FolderPublisher::connections() const
{
    return mState->options.connections;
}

void FolderPublisher::setOnlyChanged(bool onlyChanged)
{
    mState->options.onlyChanged = onlyChanged;
}

void FolderPublisher::setCheckServer(bool check)
{
    mState->options.checkServer = check;
}

void FolderPublisher::setRemoveObsolete(bool remove)
{
    mState->options.removeObsolete = remove;
}

void FolderPublisher::setDryRun(bool dryRun)
{
    mState->options.dryRun = dryRun;
}

void FolderPublisher::setHiddenFiles(bool include)
{
    mState->options.hiddenFiles = include;
}

bool FolderPublisher::setExcluded(const QStringList& globs)
{
    PathFilter filter;
    const bool isValid
        = std::all_of(globs.begin(), globs.end(), [&filter](const QString& glob) { return filter.add(glob); });
    if (isValid) {
        mState->options.excluded = globs;
    }
    return isValid;
}

bool FolderPublisher::setUploadMode(FTPCurl::UploadMode mode)
{
    const bool isValid = mode == FTPCurl::InPlace || mode == FTPCurl::TemporaryName;
    if (isValid) {
        mState->options.uploadMode = mode;
    }
    return isValid;
}

void FolderPublisher::setKeepModificationTime(bool keep)
{
    mState->options.keepModificationTime = keep;
}

bool FolderPublisher::setStallTimeOut(int seconds)
{
    const bool isValid = seconds >= 0 && seconds <= MAX_STALL_SECONDS;
    if (isValid) {
        mState->options.stallTimeOut = seconds;
    }
    return isValid;
}

bool FolderPublisher::setTrust(const PeerTrust& trust)
{
    if (trust.isValid()) {
        mState->options.trust = trust;
    }
    return trust.isValid();
}

bool FolderPublisher::prepareSession(FTPCurl& /*client*/)
{
    return true;
}

void FolderPublisher::run()
{
    PublishRun::Listener listener;
    listener.prepare = [this](FTPCurl& client) {
        addThreadableChild(&client);
        return prepareSession(client);
    };
    listener.isInterrupted = [this] { return isInterruptionRequested(); };
    listener.progress = [this](const PublishProgress& now) {
        if (mState->result) {
            mState->result->setProgress(now.files, now.totalFiles);
        }
        Q_EMIT progress(now);
    };
    listener.fileFinished = [this](const QString& path, Outcome outcome, const QString& reason) {
        Q_EMIT fileFinished(path, outcome, reason);
    };
    PublishReport report;
    {
        const FutureResult::Watch watch(mState->result.get(), [this] { requestInterruption(); });
        report = PublishRun(mState->settings, mState->optionsOfRun, mState->folder, listener).run();
    }
    announce(std::move(report)); // without the watch, which would interrupt the next run
}

void FolderPublisher::announce(PublishReport&& report)
{
    const bool success = report.isSuccess();
    std::unique_ptr<FutureResult> result;
    {
        const std::lock_guard<std::mutex> guard(mState->mutex);
        mState->report = std::move(report);
        mState->isPublishing = false;
        result = std::move(mState->result);
    }
    if (result) {
        result->finish(success);
    }
    Q_EMIT done(success);
}
