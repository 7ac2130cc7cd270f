#pragma once

#include "FetchFolder.h"
#include "RemoteTree.h"
#include "Task.h"

#include <atomic>

/// Fetches all that is below a folder of the server into a local folder, in the same layout.
class FetchTask : public Task
{
public:
    /// The local folder is open.
    FetchTask(FetchFolder localFolder, QString remoteFolder);

    QString done() const override { return QStringLiteral("files fetched"); }
    void run(FTPCurl& client, Report& report) override;
    std::optional<Progress> progress() const override;

private:
    void fetch(FTPCurl& client, Report& report, const RemoteTree::Entry& entry);
    void makeFolder(Report& report, const RemoteTree::Entry& folder);
    void fetchFile(FTPCurl& client, Report& report, const RemoteTree::Entry& file);

    FetchFolder mFolder;
    QString mRemoteFolder;
    std::optional<QString> mFailedFolder; ///< not there on this side, so that nothing can be below it
    std::atomic<int> mTotal { 0 }; ///< entries; 0 until they are listed
    std::atomic<int> mDone { 0 };
    std::atomic<qint64> mBytes { 0 }; ///< of the files that are in place
};
