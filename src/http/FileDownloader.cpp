#include <tavrel/FileDownloader.h>

#include "PartialFile.h"

#include <tavrel/HTTPCurl.h>

#include <foundation/FutureResult.h>
#include <logging/LogUtils.h>

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <mutex>
#include <system_error>
#include <thread>

namespace {

constexpr int PERCENT = 100;

/// Unlike QFile::exists(), also true for a link that leads nowhere.
bool isTaken(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

struct FileDownloader::State
{
    QString url;
    QString path;
    QString partPath;
    QString error; ///< of the last failure
    QString errorText; ///< of the last download
    HTTPCurl* client = nullptr;
    std::atomic<bool> isResumable { false };

    std::mutex mutex; ///< guards the strings above, and the flags and the result below
    bool isDownloading = false; ///< from download() until done() is about to be emitted
    bool isRunning = false; ///< from download() until run() takes up no further download
    bool isClosing = false; ///< the destructor has begun
    std::atomic<int> runs { 0 }; ///< how often run() was entered
    std::unique_ptr<FutureResult> result; ///< of the running download; null without a future
    std::thread starter; ///< starts this thread again for a slot of finished()
};

FileDownloader::FileDownloader(QObject* parent)
    : Thread(parent)
    , mState(new State)
{
    mState->client = new HTTPCurl(this);
    addThreadableChild(mState->client);
    // Direct, because this object lives on another thread than the emitter of the signal.
    connect(mState->client, &HTTPCurl::progress, this, &FileDownloader::progress, Qt::DirectConnection);
    const auto report = [this](double percent) {
        if (mState->result) {
            mState->result->setProgress(qRound(percent), PERCENT);
        }
    };
    connect(mState->client, &HTTPCurl::progress, this, report, Qt::DirectConnection);
}

FileDownloader::~FileDownloader()
{
    {
        const std::lock_guard<std::mutex> guard(mState->mutex);
        mState->isClosing = true;
    }
    interruptAndWait();
    if (mState->starter.joinable()) {
        mState->starter.join();
        wait();
    }
}

HTTPCurl& FileDownloader::client() const
{
    return *mState->client;
}

bool FileDownloader::setTrust(const PeerTrust& trust)
{
    return mState->client->setTrust(trust);
}

void FileDownloader::setResumable(bool on)
{
    mState->isResumable = on;
}

void FileDownloader::download(const QString& url, const QString& path)
{
    downloadWith(url, path, nullptr);
}

QFuture<bool> FileDownloader::downloadAsync(const QString& url, const QString& path)
{
    auto result = std::make_unique<FutureResult>();
    QFuture<bool> future = result->future();
    downloadWith(url, path, std::move(result));
    return future;
}

void FileDownloader::downloadWith(const QString& url, const QString& path, std::unique_ptr<FutureResult> result)
{
    bool needsThread = false;
    if (!begin(url, path, std::move(result), needsThread)) {
        // Without the lock, as the application's message handler may call error().
        LogUtils log(LogUtils::Warning, __FILE__, "download", __LINE__);
        log << "a download is running, not started: " << path; // a URL may hold a password
        log.checkSpacing();
    } else if (needsThread) {
        launch();
    }
}

/// Accepts a download unless one is running. A run that has not ended takes it up, else the thread must be started.
bool FileDownloader::begin(
    const QString& url, const QString& path, std::unique_ptr<FutureResult> result, bool& needsThread)
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    if (mState->isDownloading || mState->isClosing) {
        return false;
    }
    mState->url = url;
    mState->path = path;
    mState->partPath = path + QStringLiteral(".part");
    mState->errorText.clear();
    mState->result = std::move(result);
    mState->isDownloading = true;
    clearInterruption();
    needsThread = !mState->isRunning;
    mState->isRunning = true;
    return true;
}

void FileDownloader::launch()
{
    if (QThread::currentThread() != this) {
        startThread();
        return;
    }
    // Called by a slot of finished(): a thread cannot wait for its own end.
    if (mState->starter.joinable()) {
        mState->starter.join();
    }
    try {
        mState->starter = std::thread([this] { startThread(); });
    } catch (const std::system_error&) {
        failToStart();
    }
}

void FileDownloader::startThread()
{
    const int runs = mState->runs;
    wait(); // The previous run may not have returned yet.
    QThread::start(); // Not Thread::start(), which would forget an interruption requested since begin().
    if (!isRunning() && mState->runs == runs) {
        failToStart();
    }
}

void FileDownloader::failToStart()
{
    fail(QStringLiteral("Unable to start a thread"));
    {
        const std::lock_guard<std::mutex> guard(mState->mutex);
        mState->isRunning = false;
    }
    announce(false);
}

QString FileDownloader::error() const
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    return mState->error;
}

QString FileDownloader::errorText() const
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    return mState->errorText;
}

void FileDownloader::run()
{
    ++mState->runs;
    do {
        announce(runOnce());
    } while (takeUpNext());
}

void FileDownloader::announce(bool success)
{
    std::unique_ptr<FutureResult> result;
    {
        const std::lock_guard<std::mutex> guard(mState->mutex);
        mState->isDownloading = false;
        result = std::move(mState->result);
    }
    if (result) {
        result->finish(success);
    }
    Q_EMIT done(success);
}

/// Continues with a download that a slot of done() has started; false if there is none.
bool FileDownloader::takeUpNext()
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    mState->isRunning = mState->isDownloading;
    return mState->isRunning;
}

bool FileDownloader::runOnce()
{
    // While isDownloading is set, other threads read only the error.
    const FutureResult::Watch watch(mState->result.get(), [this] { requestInterruption(); });
    if (!(mState->isResumable ? resume() : fetch())) {
        return false;
    }
    // Deliberate: an existing destination is not replaced, and the result of the rename is ignored.
    if (!isTaken(mState->path)) { // QFile::rename() would write through a link that leads nowhere.
        QFile::rename(mState->partPath, mState->path);
    }
    return true;
}

bool FileDownloader::resume()
{
    return mState->client->resumeFile(mState->url, mState->partPath) || failLikeClient();
}

bool FileDownloader::fetch()
{
    if (isTaken(mState->partPath) && !QFile::remove(mState->partPath)) {
        return fail(QStringLiteral("Unable to remove ") + mState->partPath);
    }
    PartialFile file(mState->partPath, mState->url);
    if (!mState->client->getDataRaw(mState->url, file)) {
        QFile::remove(mState->partPath);
        return failLikeClient();
    }
    return true;
}

bool FileDownloader::failLikeClient()
{
    return fail(mState->client->errorMessage(), mState->client->errorText());
}

bool FileDownloader::fail(const QString& reason)
{
    return fail(reason, reason);
}

bool FileDownloader::fail(const QString& message, const QString& text)
{
    const std::lock_guard<std::mutex> guard(mState->mutex);
    mState->error = message;
    mState->errorText = text;
    return false;
}
