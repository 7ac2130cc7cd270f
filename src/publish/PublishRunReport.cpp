#include "PublishRun.h"

#include <QSet>

#include <algorithm>

void PublishRun::announcePlan()
{
    for (const PublishReport::Failure& failure : mReport.failed) {
        mListener.fileFinished(failure.path, FolderPublisher::Failed, failure.reason);
    }
    for (const PlannedFile& file : mPlan.files) {
        if (file.state == PlannedFile::ToSend) {
            ++mTotals.totalFiles;
            mTotals.totalBytes += file.size;
        }
        if (file.state == PlannedFile::Unchanged || (isShown() && file.state == PlannedFile::ToSend)) {
            const bool isSent = file.state == PlannedFile::ToSend;
            mListener.fileFinished(
                mPlan.path(file), isSent ? FolderPublisher::Sent : FolderPublisher::Unchanged, QString());
        }
    }
    for (const ObsoleteFile& file : mPlan.obsolete) {
        if (isShown()) {
            mListener.fileFinished(QString::fromUtf8(file.path), FolderPublisher::Removed, QString());
        }
    }
}

void PublishRun::reportFiles()
{
    QSet<QString> incomplete;
    for (const auto& worker : mWorkers) {
        incomplete += QSet<QString>(worker->incomplete().begin(), worker->incomplete().end());
    }
    for (const PlannedFile& file : mPlan.files) {
        const QString path = mPlan.path(file);
        switch (file.state) {
        case PlannedFile::Sent:
            mReport.sent << path;
            mReport.bytes += file.size;
            incomplete.remove(path);
            break;
        case PlannedFile::Unchanged:
            mReport.unchanged << path;
            break;
        case PlannedFile::Arrived:
            incomplete << path;
            mReport.notTried << path;
            break;
        case PlannedFile::ToSend:
            (isShown() ? mReport.sent : mReport.notTried) << path;
            break;
        case PlannedFile::NotTried:
            mReport.notTried << path;
            break;
        case PlannedFile::Failed:
            break;
        }
    }
    for (const ObsoleteFile& file : mPlan.obsolete) {
        if (file.isRemoved || isShown()) {
            mReport.removed << QString::fromUtf8(file.path);
        }
    }
    mReport.incomplete = incomplete.values();
    mReport.incomplete.sort();
    remarkOnServer();
}

void PublishRun::remarkOnServer()
{
    const auto refused
        = std::count_if(mWorkers.begin(), mWorkers.end(), [](const auto& worker) { return worker->isTurnedAway(); });
    if (refused > 0) {
        const int allowed = static_cast<int>(mWorkers.size()) - static_cast<int>(refused);
        mReport.remarks << (allowed == 1 ? QStringLiteral("the server allowed only 1 session")
                                         : QStringLiteral("the server allowed only %1 sessions").arg(allowed));
    }
    if (std::any_of(mWorkers.begin(), mWorkers.end(), [](const auto& worker) { return worker->hasLostTimes(); })) {
        mReport.remarks << QStringLiteral("the server does not set modification times");
    }
}
