#pragma once

#include <tavrel/tavrel_export.h>

#include <foundation/Thread.h>

#include <QScopedPointer>
#include <QString>

class HTTPCurl;

/**
 * Downloads a URL to a file on a thread of its own.
 *
 * The bytes go to "<path>.part", which is renamed to path when it is complete and removed when the download
 * fails. An existing destination is not replaced: `done(true)` is emitted and the ".part" file stays, so
 * remove the destination first if it may be there.
 *
 * One download at a time. It can be started again from the moment done() is emitted, also from a slot of
 * done() or finished(). requestInterruption() ends it within 0.3 s with done(false); so does destroying the object,
 * which then waits for the thread. Do not destroy it from a slot that runs on the download thread; use deleteLater()
 * there.
 *
 * download(), requestInterruption() and error() may be called from any thread. The signals are emitted on the
 * download thread.
 */
class TAVREL_EXPORT FileDownloader : public Thread
{
    Q_OBJECT

public:
    explicit FileDownloader(QObject* parent = nullptr);
    ~FileDownloader() override;

    /// Starts a download and returns at once. While one is running the call does nothing but log a warning.
    void download(const QString& url, const QString& path);

    /// Why the last download failed; empty while there was no failure.
    QString error() const;

    /// The client that does the work, for its settings: time-out, limit, user agent. Leave it alone while a
    /// download is running.
    HTTPCurl& client() const;

Q_SIGNALS:
    /// Percent of the download, 0 to 100; see HTTPCurl::progress().
    void progress(double percent);
    /// Emitted once per download.
    void done(bool success);

protected:
    void run() override;

private:
    struct State;

    bool begin(const QString& url, const QString& path, bool& needsThread);
    void launch();
    void startThread();
    void failToStart();
    bool runOnce();
    bool fail(const QString& reason);
    void announce(bool success);
    bool takeUpNext();

    const QScopedPointer<State> mState;
};
