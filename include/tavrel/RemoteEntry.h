#pragma once

#include <QDateTime>
#include <QString>

/// One entry of a remote directory with all that the server shows of it, as FTPCurl::listDetailed() reads it.
struct RemoteEntry
{
    /// As far as the server tells.
    enum Kind {
        File,
        Directory,
        Link, ///< a symbolic link, whatever is behind it
        Other, ///< a device, a socket or any other type
    };

    /// How exact a time is.
    enum TimePrecision {
        UnknownTime,
        ToTheDay, ///< in the server's own time zone, as if that were UTC
        ToTheMinute, ///< in the server's own time zone, as if that were UTC
        ToTheSecond, ///< in UTC
    };

    QString name; ///< as the server shows it; never with a slash
    QString path; ///< canonical, for requests; the path of a directory ends in a slash
    Kind kind = File; ///< as the server names it
    qint64 size = -1; ///< in bytes; -1 when it is not known
    TimePrecision timePrecision = UnknownTime; ///< of modified
    QDateTime modified; ///< UTC; invalid when it is not known
    int permissions = -1; ///< 0 to 07777; -1 when they are not shown
};
