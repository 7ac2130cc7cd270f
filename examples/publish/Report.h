#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <functional>

class FTPCurl;

/**
 * The progress of a task, line by line, and a summary at its end.
 *
 * It also decides whether a task continues. A failure ends it if the next steps would fail as well: an unknown host, a
 * refused login, a connection that breaks repeatedly.
 *
 * Used by the thread of the task while that runs.
 */
class Report
{
public:
    using Printer = std::function<void(const QString& line)>;

    /// done names the successes in the summary ("files sent"); empty: they are not counted.
    Report(QString done, Printer print);

    /// False after the user or a failure has ended the task. Checked before each step.
    bool goesOn(const FTPCurl& client);

    void succeeded(const QString& what, qint64 bytes);
    /// A success without a size.
    void succeeded(const QString& what);
    /// The last request of the client failed. An interruption is not counted as a failure.
    void failed(const QString& what, const FTPCurl& client);
    void failed(const QString& what, const QString& reason);
    /// A failure that ends the task.
    void failedFinally(const QString& what, const QString& reason);
    void notTried(const QString& what) { mNotTried << what; }
    /// An upload ended early: the file on the server is incomplete.
    void incomplete(const QString& what, bool isCertain);
    /// Prints one line.
    void remark(const QString& line) const { mPrint(line); }

    bool wasInterrupted() const { return mInterrupted; }
    bool hasFailures() const { return !mFailures.isEmpty(); }
    /// The numbers of successes, the failures with their reasons, and the steps that were not tried.
    QStringList summary() const;

private:
    void notice(const QString& what, const FTPCurl& client);

    QString mDone;
    Printer mPrint;
    QElapsedTimer mTime;
    int mCount = 0;
    qint64 mBytes = 0;
    bool mMeasured = false; ///< some successes had a size
    bool mInterrupted = false;
    QString mFinalReason; ///< why the task ended early
    int mConnectionFailures = 0; ///< in a row
    QStringList mFailures;
    QStringList mNotTried;
    QStringList mIncomplete;
};
