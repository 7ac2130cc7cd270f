#pragma once

#include "SiteRecord.h"

#include <QString>
#include <QTemporaryFile>

class FTPCurl;

/// The record of a site as it stands on the server before a run.
class RecordDownload
{
public:
    /// Downloads the record, unless that is done. False, with the client's error, when the site has one that cannot be
    /// read, or may have one.
    bool fetch(FTPCurl& client);
    /// Takes the entries of what fetch() has brought; a site without a record, and a file that is none, have none. The
    /// latter is told in remark.
    void read(SiteRecord& record, QString& remark);
    bool wasFound() const { return mResult == Result::Found; }
    RecordPlace place() const;

private:
    enum class Result { Unknown, Missing, Found };

    Result fetch(FTPCurl& client, const char* name);

    QTemporaryFile mLocal;
    QString mName;
    Result mResult = Result::Unknown;
};
