#pragma once

#include "FetchFolder.h"
#include "RemoteTree.h"
#include "Task.h"

#include <atomic>

/// Downloads a folder of the server, with its sub-folders, into a local folder.
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
    std::optional<QString> mFailedFolder; ///< could not be created, so its content is skipped
    std::atomic<int> mTotal { 0 }; ///< entries; 0 until they are listed
    std::atomic<int> mDone { 0 };
    std::atomic<qint64> mBytes { 0 }; ///< of the complete files
};
