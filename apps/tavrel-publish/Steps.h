#pragma once

#include "Report.h"

#include <QString>

class FTPCurl;

/// The steps of the doctor: prints a line for each, and counts those that fail.
class Steps
{
public:
    Steps(FTPCurl& client, Report& report);

    /// True.
    bool works(const char* name, const QString& detail = QString());
    /// False. Without a detail: the last request has failed. A failure after an interruption is not printed.
    bool fails(const char* name, const QString& advice, const QString& detail = QString());
    void remark(const QString& text);
    bool goesOn() { return mReport.goesOn(mClient); }

    /// The text of a server in quotation marks, without control characters and of a bounded length, so that it cannot
    /// pass for a line of the doctor.
    static QString quoted(const QString& text);

private:
    QString reason() const;

    FTPCurl& mClient;
    Report& mReport;
};
