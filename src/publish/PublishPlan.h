#pragma once

#include "SiteRecord.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// A local file and what becomes of it. Kept small, as a site may have very many.
struct PlannedFile
{
    enum State : quint8 {
        ToSend,
        Arrived, ///< sent, but its size on the server is not verified yet
        Sent,
        Unchanged,
        Failed,
        NotTried,
    };

    qint64 size = 0; ///< of the local file; once it is sent, of what was sent
    qint64 recordedSize = -1; ///< in the record on the server; -1 when it is not there
    Digest digest {}; ///< of a file that is sent or unchanged
    int folder = 0;
    qint64 nameBegin = 0; ///< in PublishPlan::names
    int nameSize = 0;
    State state = ToSend;
    quint8 failures = 0; ///< so far, of the connection or the verification
    bool hasLeftFolder = false; ///< its first attempt is over, so that it no longer delays the check of its folder

    bool isOnServer() const { return state == Sent || state == Unchanged; }
};

struct PlannedFolder
{
    QByteArray path; ///< from the folder that is published: "" or ending in a slash
    int parent = -1;
    int firstFile = 0;
    int fileCount = 0;
    bool isEmpty = true; ///< without entries to publish
    bool isPresumed = false; ///< to exist on the server, as the record has files in it
};

struct ObsoleteFile
{
    QByteArray path;
    bool isRemoved = false;
};

/// The files of a run. The files of a folder are neighbours, and a folder comes before those in it.
struct PublishPlan
{
    std::vector<PlannedFolder> folders;
    std::vector<PlannedFile> files;
    std::vector<ObsoleteFile> obsolete; ///< to be removed from the server
    SiteRecord others; ///< entries of the record without a planned file
    QByteArray names; ///< of the files, one after the other

    void addFile(const QByteArray& name, qint64 size, int folder);
    QByteArray name(const PlannedFile& file) const { return names.mid(file.nameBegin, file.nameSize); }
    QByteArray bytePath(const PlannedFile& file) const { return folders[file.folder].path + name(file); }
    QString path(const PlannedFile& file) const { return QString::fromUtf8(bytePath(file)); }
};
