#include <tavrel/FileDownloader.h>

#include <tavrel/HTTPCurl.h>

#include <logging/LogUtils.h>

#include <QFile>

FileDownloader::FileDownloader(QObject* parent)
    : Thread(parent)
    , mClient(new HTTPCurl(this))
{
    addThreadableChild(mClient);
    // Direct, because this object lives on another thread than the one that emits.
    connect(mClient, &HTTPCurl::progress, this, &FileDownloader::progress, Qt::DirectConnection);
}

FileDownloader::~FileDownloader()
{
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mClosing = true;
    }
    interruptAndWait();
    if (mStarter.joinable()) {
        mStarter.join();
        wait();
    }
}

void FileDownloader::download(const QString& url, const QString& path)
{
    const Start start = begin(url, path);
    if (start == NeedsThread) {
        launch();
    } else if (start == Refused) {
        // Not while the lock is held: the application's message handler may call error().
        LogUtils log(LogUtils::Warning, __FILE__, "download", __LINE__);
        log << "a download is running, not started: " << path; // a URL may hold a password
        log.checkSpacing();
    }
}

/// Takes a download up, unless one is running.
FileDownloader::Start FileDownloader::begin(const QString& url, const QString& path)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    if (mDownloading || mClosing) {
        return Refused;
    }
    mUrl = url;
    mPath = path;
    mPartPath = path + QStringLiteral(".part");
    mError.clear();
    mDownloading = true;
    clearInterruption();
    const Start start = mRunning ? TakenUp : NeedsThread;
    mRunning = true;
    return start;
}

void FileDownloader::launch()
{
    if (QThread::currentThread() != this) {
        startThread();
        return;
    }
    // A slot of finished() is running, and a thread cannot wait for its own end.
    if (mStarter.joinable()) {
        mStarter.join();
    }
    mStarter = std::thread([this] { startThread(); });
}

void FileDownloader::startThread()
{
    const int runs = mRuns;
    wait(); // A run that has announced its end may not have returned yet.
    QThread::start(); // Not Thread's, which would forget an interruption requested since begin().
    if (!isRunning() && mRuns == runs) {
        fail(QStringLiteral("Unable to start a thread"));
        {
            const std::lock_guard<std::mutex> guard(mMutex);
            mRunning = false;
        }
        announce(false);
    }
}

QString FileDownloader::error() const
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mError;
}

void FileDownloader::run()
{
    ++mRuns;
    do {
        announce(runOnce());
    } while (takeUpNext());
}

void FileDownloader::announce(bool success)
{
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mDownloading = false;
    }
    Q_EMIT done(success);
}

/// Whether a slot of done() has asked for another download, which this run then serves.
bool FileDownloader::takeUpNext()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    mRunning = mDownloading;
    return mRunning;
}

bool FileDownloader::runOnce()
{
    // While mDownloading is set nobody else touches the strings, except to read the error.
    if (QFile::exists(mPartPath) && !QFile::remove(mPartPath)) {
        return fail(QStringLiteral("Unable to remove ") + mPartPath);
    }
    if (!mClient->getFile(mUrl, mPartPath)) {
        QFile::remove(mPartPath);
        return fail(mClient->errorText());
    }
    // Deliberate: an existing destination stays, and the result of the rename does not count.
    QFile::rename(mPartPath, mPath);
    return true;
}

bool FileDownloader::fail(const QString& reason)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    mError = reason;
    return false;
}
