#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QStringList>

#include <functional>

class FTPCurl;

/**
 * What a task does: told as it happens, and summed up at its end.
 *
 * It also decides whether a task goes on. A failure ends it when the next steps would fail as well: no such host, a
 * refused login, a connection that breaks again and again.
 *
 * Used by the thread of the task while that runs.
 */
class Report
{
public:
    using Printer = std::function<void(const QString& line)>;

    /// done says what the summary counts ("files sent"); when it is empty, it does not count.
    Report(QString done, Printer print);

    /// False when the user or a failure has ended the task. Asked before each step that is left.
    bool goesOn(const FTPCurl& client);

    void succeeded(const QString& what, qint64 bytes);
    /// The same for what has no size.
    void succeeded(const QString& what);
    /// The last request of the client failed, unless it was interrupted, which is no failure of what was asked.
    void failed(const QString& what, const FTPCurl& client);
    void failed(const QString& what, const QString& reason);
    /// The same for a reason that ends the task.
    void failedFinally(const QString& what, const QString& reason);
    void notTried(const QString& what) { mNotTried << what; }
    /// An upload ended early, and what is on the server now is not the whole file.
    void incomplete(const QString& what, bool isCertain);
    /// One line in its place among the others.
    void remark(const QString& line) const { mPrint(line); }

    bool wasInterrupted() const { return mInterrupted; }
    bool hasFailures() const { return !mFailures.isEmpty(); }
    /// What was done, what failed and why, what was not tried.
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
