#pragma once

#include <tavrel/PublishReport.h>

#include <QJsonObject>
#include <QString>

#include <functional>

class FTPCurl;

/**
 * The events of a task, and its summary.
 *
 * It also decides whether a task continues. A failure ends it if the next steps would fail as well: an unknown host, a
 * refused login, a connection that breaks repeatedly.
 *
 * Used by the thread of the task while that runs.
 */
class Report
{
public:
    using Printer = std::function<void(const QJsonObject& event)>;

    /// outcome names a success ("fetched"); if it is empty, successes are not counted.
    Report(QString outcome, Printer print);

    /// False after the user or a failure has ended the task. Checked before each step.
    bool goesOn(const FTPCurl& client);

    void succeeded(const QString& path, qint64 bytes = 0);
    /// The last request of the client failed. An interruption is not counted as a failure.
    void failed(const QString& path, const FTPCurl& client);
    void failed(const QString& path, const QString& reason);
    void notTried(const QString& path) { mResult.notTried << path; }
    void remark(const QString& text) const;
    /// Prints an event that the summary does not count.
    void print(const QJsonObject& event) const { mPrint(event); }
    /// Counts a failure without printing it.
    void countFailure(const QString& path, const QString& reason);

    /// To be used after the task has ended.
    const PublishReport& result() const { return mResult; }
    QJsonObject summary() const;

    /// Why the last request of a client failed, for people.
    static QString reasonOf(const FTPCurl& client);

private:
    QString mOutcome;
    Printer mPrint;
    int mCount = 0;
    int mConnectionFailures = 0; ///< in a row
    PublishReport mResult;
};
