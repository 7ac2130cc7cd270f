#pragma once

#include "PathFilter.h"
#include "PublishPlan.h"

#include <tavrel/PublishReport.h>

#include <functional>

/// Reads a local folder into a plan. Folders and files come in the order of their names.
class LocalScan
{
public:
    /// root ends in a slash. Stops when isStopped says so.
    LocalScan(QByteArray root, const PathFilter& filter, bool hiddenFiles, std::function<bool()> isStopped);

    /// Entries that cannot be published go to failed and remarks of the report. False, with the reason in fault(), if
    /// the folder itself cannot be read.
    bool run(PublishPlan& plan, PublishReport& report);
    const QString& fault() const { return mFault; }

    /// The name of a file with globs in the folder.
    static const char* const RULES_FILE;

    /// Paths that were not read, so that nothing is known of the files below; the path of a folder ends in a slash.
    const QStringList& unknown() const { return mUnknown; }

private:
    struct Entry;

    void readFolder(PublishPlan& plan, PublishReport& report, int folder);
    bool listFolder(const QByteArray& path, std::vector<Entry>& entries);
    bool isWanted(const PlannedFolder& folder, const Entry& entry) const;
    bool accept(const PlannedFolder& folder, const Entry& entry, PublishReport& report);

    QByteArray mRoot;
    const PathFilter& mFilter;
    bool mHiddenFiles;
    std::function<bool()> mIsStopped;
    QString mFault;
    QStringList mUnknown;
};
