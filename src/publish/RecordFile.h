#pragma once

#include "SiteRecord.h"

#include <QString>

class FTPCurl;
class QTemporaryFile;
struct PublishPlan;

/// Writes the record of a site to its server. The functions leave the client's error when they return false.
class RecordFile
{
public:
    explicit RecordFile(FTPCurl& client);

    /// Writes what a plan knows to local, which is empty and open. False when the disk is full.
    static bool format(const PublishPlan& plan, QTemporaryFile& local);
    /// Appends a mark to the record for each file that is about to change, and is in it. False, too, on servers that do
    /// not append.
    bool mark(const PublishPlan& plan);
    /// Appends the files that were sent. Like mark(), only to a record whose other lines are still true.
    bool addSent(const PublishPlan& plan);
    /// Writes the record from a local file. One that is replaced is complete at any moment, under one of its two names.
    /// The place follows each step, also of those before a failure.
    bool write(const QString& local, RecordPlace& place);

private:
    bool append(const QByteArray& lines);
    bool isRefused() const;
    bool adopt(RecordPlace& place);
    bool replace(const QString& local, RecordPlace& place);
    bool removeNew();

    FTPCurl& mClient;
};
