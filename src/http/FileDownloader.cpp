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
}

void FileDownloader::download(const QString& url, const QString& path)
{
    if (!begin(url, path)) {
        return;
    }
    wait(); // A run that has announced its end may not have returned yet.
    QThread::start(); // Not Thread's, which would forget an interruption asked for since begin().
    if (!isRunning() && !isFinished()) {
        fail(QStringLiteral("Unable to start a thread"));
        {
            const std::lock_guard<std::mutex> guard(mMutex);
            mRunning = false;
        }
        announce(false);
    }
}

/// Takes a download up; true when the thread has to be started for it.
bool FileDownloader::begin(const QString& url, const QString& path)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    if (mDownloading || mClosing) {
        LogUtils log(LogUtils::Warning, __FILE__, "download", __LINE__);
        log << "a download is running, not started: " << path; // a URL may hold a password
        log.checkSpacing();
        return false;
    }
    mUrl = url;
    mPath = path;
    mPartPath = path + QStringLiteral(".part");
    mError.clear();
    mDownloading = true;
    clearInterruption();
    const bool start = !mRunning;
    mRunning = true;
    return start;
}

QString FileDownloader::error() const
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mError;
}

void FileDownloader::run()
{
    do {
        announce(runOnce());
    } while (isStartedAgain());
}

void FileDownloader::announce(bool success)
{
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mDownloading = false;
    }
    Q_EMIT done(success);
}

/// Whether a slot of done() has asked for another download.
bool FileDownloader::isStartedAgain()
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
        const QString message = mClient->errorMessage();
        // Not every code has a message; its name still tells why.
        return fail(message.isEmpty() ? mClient->error().name() : message);
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
