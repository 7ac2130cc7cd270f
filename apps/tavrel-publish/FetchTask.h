#pragma once

#include "FetchFolder.h"
#include "Task.h"

#include <tavrel/RemoteEntry.h>

#include <QElapsedTimer>

#include <atomic>

/// Downloads a folder of the server, with its sub-folders, into a local folder.
class FetchTask : public Task
{
public:
    /// The local folder is open.
    FetchTask(FetchFolder localFolder, QString remoteFolder, bool keepTimes);

    QString outcome() const override { return QStringLiteral("fetched"); }
    void run(FTPCurl& client, Report& report) override;
    std::optional<PublishProgress> progress() const override;

private:
    void fetch(FTPCurl& client, Report& report, const RemoteEntry& entry, const QString& relative);
    void makeFolder(Report& report, const QString& relative);
    void fetchFile(FTPCurl& client, Report& report, const RemoteEntry& file, const QString& relative);

    FetchFolder mFolder;
    QString mRemoteFolder;
    bool mKeepTimes;
    QElapsedTimer mTime;
    std::optional<QString> mFailedFolder; ///< could not be created, so its content is skipped
    std::atomic<int> mTotal { 0 }; ///< entries; 0 until they are listed
    std::atomic<int> mDone { 0 };
    std::atomic<qint64> mTotalBytes { 0 };
    std::atomic<qint64> mBytes { 0 }; ///< of the complete files
};
