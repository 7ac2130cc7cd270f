#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// The result of a FolderPublisher. Paths are relative to the folder; the path of a directory ends in a slash.
struct PublishReport
{
    /// A file that could not be sent or removed, and why.
    struct Failure
    {
        QString path; ///< relative to the folder
        QString reason; ///< in one line, for people
    };

    QStringList sent; ///< complete on the server, or to be sent in a dry run
    QStringList unchanged; ///< not sent, as they are on the server
    QStringList removed; ///< obsolete and removed from the server, or to be removed in a dry run
    QVector<Failure> failed; ///< not sent, not verified or not removed
    QStringList notTried; ///< after an interruption or a failure that concerns all files
    QStringList incomplete; ///< may be truncated on the server; the next run sends them
    QStringList remarks; ///< for people: entries that were left out, and what else happened on the way
    qint64 bytes = 0; ///< of the files in sent
    QString stopReason; ///< the failure that ended the run early; empty if there was none
    bool wasInterrupted = false; ///< by requestInterruption()

    /// True if the run did all that it had to do.
    bool isSuccess() const { return failed.isEmpty() && notTried.isEmpty() && stopReason.isEmpty() && !wasInterrupted; }
};
