#pragma once

#include "LocalSite.h"
#include "Task.h"

#include <atomic>

/// Sends a local site to the folder of the settings, and creates what is missing there.
class PublishTask : public Task
{
public:
    explicit PublishTask(LocalSite site);

    QString done() const override { return QStringLiteral("files sent"); }
    void run(FTPCurl& client, Report& report) override;
    std::optional<Progress> progress() const override;

private:
    void publishFolder(FTPCurl& client, Report& report, const LocalSite::Folder& folder);
    bool makeFolder(FTPCurl& client, Report& report, const QString& path);
    void publishFile(FTPCurl& client, Report& report, const LocalSite::File& file);
    bool confirm(FTPCurl& client, Report& report, const QString& path, qint64 size);
    bool sendFile(FTPCurl& client, Report& report, const LocalSite::File& file);

    LocalSite mSite;
    std::optional<QString> mFailedFolder; ///< not there on the server, so that nothing can be below it
    std::atomic<qint64> mSent { 0 }; ///< bytes of the files that are done with
    std::atomic<qint64> mFailed { 0 }; ///< bytes of these files that were not sent, and will not be
    std::atomic<qint64> mCurrent { 0 }; ///< bytes of the one that is being sent
};
