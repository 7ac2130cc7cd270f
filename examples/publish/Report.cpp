#include "Report.h"

#include "Failure.h"

#include <tavrel/FTPCurl.h>

#include <foundation/FileUtils.h>

#include <utility>

namespace {

constexpr int MAX_CONNECTION_FAILURES = 3;
constexpr int LONGEST_LIST = 10;

/// A heading and the lines below it, up to a maximum.
QStringList section(const QString& headline, const QStringList& items, int longest)
{
    if (items.isEmpty()) {
        return {};
    }
    QStringList lines { QStringLiteral("%1, %2:").arg(headline, QString::number(items.size())) };
    for (const QString& item : items.mid(0, longest)) {
        lines << QStringLiteral("  ") + item;
    }
    if (longest > 0 && items.size() > longest) {
        lines << QStringLiteral("  and %1 more").arg(items.size() - longest);
    }
    return lines;
}

} // namespace

Report::Report(QString done, Printer print)
    : mDone(std::move(done))
    , mPrint(std::move(print))
{
    mTime.start();
}

bool Report::goesOn(const FTPCurl& client)
{
    mInterrupted = mInterrupted || client.isInterruptionRequested();
    return !mInterrupted && mFinalReason.isEmpty();
}

void Report::succeeded(const QString& what, qint64 bytes)
{
    mBytes += bytes;
    mMeasured = true;
    succeeded(QStringLiteral("%1  %2").arg(what, FileUtils::fileSizeToString(bytes)));
}

void Report::succeeded(const QString& what)
{
    ++mCount;
    mConnectionFailures = 0;
    mPrint(what + QStringLiteral("  ok"));
}

void Report::failed(const QString& what, const FTPCurl& client)
{
    if (client.isInterruptionRequested()) {
        mInterrupted = true;
        return;
    }
    const QString reason = Failure::reasonOf(client);
    mConnectionFailures = Failure::isOfConnection(client.error()) ? mConnectionFailures + 1 : 0;
    if (Failure::isFinal(client.error()) || mConnectionFailures >= MAX_CONNECTION_FAILURES) {
        failedFinally(what, reason);
    } else {
        failed(what, reason);
    }
}

void Report::failed(const QString& what, const QString& reason)
{
    mFailures << QStringLiteral("%1: %2").arg(what, reason);
    mPrint(QStringLiteral("%1  FAILED: %2").arg(what, reason));
}

void Report::failedFinally(const QString& what, const QString& reason)
{
    mFinalReason = reason;
    failed(what, reason);
}

void Report::incomplete(const QString& what, bool isCertain)
{
    mIncomplete
        << QStringLiteral("%1 %2 incomplete on the server").arg(what, QString::fromLatin1(isCertain ? "is" : "may be"));
}

QStringList Report::summary() const
{
    QStringList lines;
    if (!mDone.isEmpty()) {
        const QString size = mMeasured ? QStringLiteral(", ") + FileUtils::fileSizeToString(mBytes) : QString();
        const QString seconds = QString::number(static_cast<double>(mTime.elapsed()) / 1000.0, 'f', 1);
        lines << QStringLiteral("%1: %2%3 in %4 s").arg(mDone, QString::number(mCount), size, seconds);
    }
    lines += section(QStringLiteral("failed"), mFailures, mFailures.size());
    lines += section(QStringLiteral("not tried"), mNotTried, LONGEST_LIST);
    if (!mFinalReason.isEmpty()) {
        lines << QStringLiteral("stopped early: ") + mFinalReason;
    }
    if (mInterrupted) {
        lines << QStringLiteral("interrupted");
    }
    return lines + mIncomplete;
}
