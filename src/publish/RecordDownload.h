#pragma once

#include "SiteRecord.h"

#include <QString>
#include <QTemporaryFile>

#include <deque>

class FTPCurl;

/// The record of a site as it stands on the server before a run.
class RecordDownload
{
public:
    /// Downloads the record, unless that is done. False, with the client's error, when the site has one that cannot be
    /// read, or may have one.
    bool fetch(FTPCurl& client);
    /// Takes the entries of what fetch() has brought; a site without a record, and a file that is none, have none. The
    /// latter is told in remark. Of several records under second names it is not known which one is the latest, so no
    /// file counts as whole. False when the disk fails; remark tells why, and what was read is not the record.
    [[nodiscard]] bool read(SiteRecord& record, QString& remark);
    bool wasFound() const { return mResult == Result::Found; }
    const RecordPlace& place() const { return mPlace; }

private:
    enum class Result { Unknown, Missing, Found, TooLarge };

    bool fetchSecondNames(FTPCurl& client);
    Result fetchFile(FTPCurl& client, const QString& name);

    std::deque<QTemporaryFile> mLocals; ///< one for each that was found
    RecordPlace mPlace;
    Result mResult = Result::Unknown;
};
