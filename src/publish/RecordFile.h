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
    /// Appends a mark to the record for each local file that is about to be sent, and is in it. False, too, on servers
    /// that do not append.
    bool mark(const PublishPlan& plan);
    /// Appends the files that were sent. Like mark(), only to a record whose other lines are still true.
    bool addSent(const PublishPlan& plan);
    /// Writes the record from a local file. A complete record exists at any moment, under its name or a second one.
    /// The place follows each step, also when a later step fails.
    bool write(const QString& local, RecordPlace& place);
    /// Removes records under second names that earlier runs have left, except the record in place.
    void removeLeftOvers(const RecordPlace& place);

    /// The records under second names that the server lists; none when it does not list, with the client's error.
    static QStringList namesOnServer(FTPCurl& client);

private:
    bool append(const QByteArray& lines);
    bool isRefused() const;
    bool makeRoom(const QString& name);
    void remove(const QStringList& names);

    FTPCurl& mClient;
};
