#pragma once

#include "LocalSite.h"
#include "Task.h"

#include <atomic>

/// Uploads a local site to the folder of the settings and creates the missing folders there.
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
    std::optional<QString> mFailedFolder; ///< could not be created on the server, so its content is skipped
    std::atomic<qint64> mSent { 0 }; ///< bytes of finished files
    std::atomic<qint64> mFailed { 0 }; ///< bytes of finished files that were not sent
    std::atomic<qint64> mCurrent { 0 }; ///< bytes of the current file
};
