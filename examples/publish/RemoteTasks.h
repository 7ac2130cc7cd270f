#pragma once

#include "Task.h"

#include <QString>
#include <QStringList>

/// Prints what is below a folder of the server, one path per line; that of a folder ends in a slash.
class ListTask : public Task
{
public:
    explicit ListTask(QString folder);
    void run(FTPCurl& client, Report& report) override;

private:
    QString mFolder;
};

/**
 * Removes files, and folders with all that is below them.
 *
 * Of a symbolic link the link alone is removed. FTPCurl::removeResource() would also remove what is in the folder
 * behind it, which need not be the site's.
 */
class RemoveTask : public Task
{
public:
    /// Without paths: all that is in the site's folder.
    explicit RemoveTask(QStringList paths);
    QString done() const override { return QStringLiteral("paths removed"); }
    void run(FTPCurl& client, Report& report) override;

private:
    void remove(FTPCurl& client, Report& report, const QString& path);
    bool removeBelow(FTPCurl& client, Report& report, const QString& folder);

    QStringList mPaths;
};

/// Sets the permission bits of files and folders.
class ChmodTask : public Task
{
public:
    ChmodTask(int mode, QStringList paths);
    QString done() const override { return QStringLiteral("paths changed"); }
    void run(FTPCurl& client, Report& report) override;

private:
    int mMode;
    QStringList mPaths;
};
