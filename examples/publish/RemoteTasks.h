#pragma once

#include "Task.h"

#include <QString>
#include <QStringList>

/// Prints the paths below a folder of the server, one per line; that of a folder ends in a slash.
class ListTask : public Task
{
public:
    explicit ListTask(QString folder);
    void run(FTPCurl& client, Report& report) override;

private:
    QString mFolder;
};

/// Prints the entries of one folder with permissions, size and time, and the key that the server has shown.
class DetailsTask : public Task
{
public:
    explicit DetailsTask(QString folder);
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
