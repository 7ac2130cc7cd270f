#pragma once

#include "PathFilter.h"
#include "PublishOptions.h"
#include "PublishPlan.h"
#include "PublishSession.h"
#include "RecordDownload.h"
#include "ServerFolders.h"

#include <tavrel/PublishReport.h>

#include <QList>
#include <QSet>
#include <QStringList>

#include <functional>

/// Makes the plan of a run: reads the local folder, compares it with the record of the site and, where that is asked
/// for, with the server.
class PlanMaker
{
public:
    /// root ends in a slash. Failures of single files and remarks go to the report.
    PlanMaker(QByteArray root, const PublishOptions& options, PublishReport& report, std::function<bool()> isStopped);

    /// The steps, in this order. Each returns false when the run cannot go on, with the reason in fault(); it is empty
    /// after an interruption.
    bool readFolder(PublishPlan& plan);
    bool readRecord(PublishSession& session, RecordDownload& record, PublishPlan& plan);
    bool compare(PublishPlan& plan);
    bool checkServer(PublishSession& session, PublishPlan& plan);
    bool findObsolete(PublishSession& session, PublishPlan& plan);

    const QString& fault() const { return mFault; }
    const RecordPlace& recordPlace() const { return mRecordPlace; }
    /// True if the record on the server differs from the record that the plan was made from, or is not in its place.
    bool isRecordOutdated() const { return mIsRecordOutdated; }

private:
    bool readFilter();
    bool fail(PublishSession& session, FTPFailure::Kind kind);
    void fail(PlannedFile& file, const QString& path, const QString& reason);
    bool matches(PlannedFile& file, const QString& path);
    void compareFile(PublishPlan& plan, PlannedFile& file);
    static void presume(PublishPlan& plan, int folder);
    static void doubt(PublishPlan& plan, int folder);
    FTPFailure::Kind checkFile(
        PublishSession& session, PublishPlan& plan, PlannedFile& file, const ServerFolders::Entries& entries);
    static QSet<QString> plannedSpellings(const PublishPlan& plan, const QList<QByteArray>& paths);
    void forget(PublishPlan& plan, const QByteArray& path);
    bool isKnownToBeGone(const QString& path) const;
    FTPFailure::Kind examine(
        PublishSession& session, ServerFolders& folders, PublishPlan& plan, const QByteArray& path);

    QByteArray mRoot;
    const PublishOptions& mOptions;
    PublishReport& mReport;
    std::function<bool()> mIsStopped;
    PathFilter mFilter;
    QStringList mUnknown; ///< local paths that could not be read
    QString mFault;
    RecordPlace mRecordPlace;
    bool mIsRecordOutdated = false;
    QByteArray mBlock; ///< for reading files
};
