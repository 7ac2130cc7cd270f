#include "Report.h"

#include "Events.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPFailure.h>

#include <utility>

namespace {

constexpr int MAX_CONNECTION_FAILURES = 3;

} // namespace

Report::Report(QString outcome, Printer print)
    : mOutcome(std::move(outcome))
    , mPrint(std::move(print))
{
}

bool Report::goesOn(const FTPCurl& client)
{
    mResult.wasInterrupted = mResult.wasInterrupted || client.isInterruptionRequested();
    return !mResult.wasInterrupted && mResult.stopReason.isEmpty();
}

void Report::succeeded(const QString& path, qint64 bytes)
{
    ++mCount;
    mConnectionFailures = 0;
    mResult.bytes += bytes;
    mPrint(Events::file(path, mOutcome));
}

void Report::failed(const QString& path, const FTPCurl& client)
{
    if (client.isInterruptionRequested()) {
        mResult.wasInterrupted = true;
        return;
    }
    const QString reason = reasonOf(client);
    const FTPFailure::Kind kind = FTPFailure::kindOf(client);
    mConnectionFailures = kind == FTPFailure::OfConnection ? mConnectionFailures + 1 : 0;
    if (kind == FTPFailure::OfServer || mConnectionFailures >= MAX_CONNECTION_FAILURES) {
        mResult.stopReason = reason;
    }
    failed(path, reason);
}

void Report::failed(const QString& path, const QString& reason)
{
    countFailure(path, reason);
    mPrint(Events::file(path, Events::nameOf(FolderPublisher::Failed), reason));
}

void Report::countFailure(const QString& path, const QString& reason)
{
    mResult.failed.append({ path, reason });
}

void Report::remark(const QString& text) const
{
    mPrint(Events::remark(text));
}

QJsonObject Report::summary() const
{
    QJsonObject summary = Events::summary(mResult);
    summary.remove("sent");
    summary.remove("unchanged");
    summary.remove("removed");
    if (!mOutcome.isEmpty()) {
        summary[mOutcome] = mCount;
    }
    return summary;
}

QString Report::reasonOf(const FTPCurl& client)
{
    const QString reason = FTPFailure::reasonOf(client);
    return reason.isEmpty() ? QStringLiteral("the server refused") : reason;
}
