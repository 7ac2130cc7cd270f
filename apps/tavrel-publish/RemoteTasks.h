#pragma once

#include "Task.h"

#include <QString>
#include <QStringList>

/// Lists the entries below a folder of the server.
class ListTask : public Task
{
public:
    explicit ListTask(QString folder);
    void run(FTPCurl& client, Report& report) override;

private:
    QString mFolder;
};

/**
 * Removes files, and folders with their content.
 *
 * A symbolic link is removed, not followed; FTPCurl::removeResource() would also remove the content of its target,
 * which may be outside of the site.
 */
class RemoveTask : public Task
{
public:
    /// Without paths: the content of the site's folder.
    explicit RemoveTask(QStringList paths);
    QString outcome() const override { return QStringLiteral("removed"); }
    void run(FTPCurl& client, Report& report) override;

private:
    void removeBelow(const QString& folder, int depth);
    void remove(const QString& path, bool isFolder, int depth);

    QStringList mPaths;
    FTPCurl* mClient = nullptr;
    Report* mReport = nullptr;
};

/// Sets the permission bits of files and folders.
class ChmodTask : public Task
{
public:
    ChmodTask(int mode, QStringList paths);
    QString outcome() const override { return QStringLiteral("changed"); }
    void run(FTPCurl& client, Report& report) override;

private:
    static void reportFailure(FTPCurl& client, Report& report, const QString& path);

    int mMode;
    QStringList mPaths;
};
