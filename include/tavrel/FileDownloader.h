#pragma once

#include <tavrel/tavrel_export.h>

#include <foundation/Thread.h>

#include <QFuture>
#include <QScopedPointer>
#include <QString>

#include <memory>

class FutureResult;
class HTTPCurl;
class PeerTrust;

/**
 * Downloads a URL to a file on a thread of its own.
 *
 * The bytes are written to "<path>.part", which is renamed to path when it is complete and removed if the download
 * fails, unless setResumable(true) was called. An existing destination is not replaced: done(true) is emitted and the
 * ".part" file stays, so remove an existing destination first.
 *
 * One download at a time. The next one can be started as soon as done() is emitted, also by a slot of done() or
 * finished(). requestInterruption() ends a download within 0.3 s with done(false). So does the destructor, which waits
 * for the thread; in a slot that runs on the download thread use deleteLater().
 *
 * The ".part" file and its record are not opened if they are links or belong to another user; the download then fails.
 *
 * download(), downloadAsync(), requestInterruption(), error() and errorText() may be called from any thread. The
 * signals are emitted on the download thread.
 */
class TAVREL_EXPORT FileDownloader : public Thread
{
    Q_OBJECT

public:
    /// Does not start anything; see download().
    explicit FileDownloader(QObject* parent = nullptr);
    ~FileDownloader() override;

    /// Starts a download and returns at once. While one is running, only logs a warning.
    void download(const QString& url, const QString& path);

    /// Starts a download like download(), and returns a future of its end.
    ///
    /// The future finishes once, with the result of done() and just before that signal: in every case, also when this
    /// object is destroyed. While another download is running it is already finished with false.
    /// QFuture::cancel() has the effect of requestInterruption() on this download only; the future still finishes when
    /// the download has ended, and has a result. Pausing has no effect. The progress of the future is a percentage.
    ///
    /// The future may be used on any thread and outlives this object. Do not wait for it in a slot that runs on the
    /// download thread.
    QFuture<bool> downloadAsync(const QString& url, const QString& path);

    /// Keeps the ".part" file of a failed or interrupted download, with a record in "<path>.part.info", and continues
    /// it in the next download() of the same URL to the same path; see HTTPCurl::resumeFile(). Off by default. May be
    /// called from any thread; a running download is not affected.
    void setResumable(bool on);

    /// The errorMessage() of the client after the last failure, which is empty for an error without a text. Neither the
    /// start nor the success of another download clears it; errorText() is the reason to show.
    QString error() const;
    /// The reason why the last download failed, which is never empty then; empty if it did not fail or is still
    /// running.
    QString errorText() const;

    /// HTTPCurl::setTrust() of client(); false, with the reason in the client's error(), when it is refused. Must
    /// not be called while a download is running.
    bool setTrust(const PeerTrust& trust);

    /// The client of the downloads, for its settings: time-out, limit, user agent. Must not be used while a download is
    /// running.
    HTTPCurl& client() const;

Q_SIGNALS:
    /// Percentage of the download, 0 to 100; see HTTPCurl::progress().
    void progress(double percent);
    /// Emitted once per download.
    void done(bool success);

protected:
    /// The work of the thread.
    void run() override;

private:
    struct State;

    bool begin(const QString& url, const QString& path, std::unique_ptr<FutureResult> result, bool& needsThread);
    void downloadWith(const QString& url, const QString& path, std::unique_ptr<FutureResult> result);
    void launch();
    void startThread();
    void failToStart();
    bool runOnce();
    bool resume();
    bool fetch();
    bool fail(const QString& reason);
    bool fail(const QString& message, const QString& text);
    bool failLikeClient();
    void announce(bool success);
    bool takeUpNext();

    const QScopedPointer<State> mState;
};
