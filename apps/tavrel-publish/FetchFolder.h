#pragma once

#include <QString>
#include <QTemporaryDir>

#include <memory>

/**
 * The local side of a fetch. A file is downloaded to a temporary name and renamed when it is complete, so that a
 * failure leaves the old file unchanged.
 *
 * Relative paths consist of plain names, see RemoteTree. Nothing is written through a symbolic link below the folder.
 */
class FetchFolder
{
public:
    explicit FetchFolder(QString path);

    /// Creates the folder if it is missing. Like the functions below, returns false with the reason in fault().
    bool open();
    /// Why a path is not written here; empty for one that is. What controls a later run of the publisher comes from its
    /// user only, whatever the server has.
    static QString refusalOf(const QString& relative);
    /// Whether a path is of a record of the publisher, which is about the folder on the server.
    static bool isRecord(const QString& relative);
    /// Creates a folder whose parent exists; true if it exists already.
    bool makeFolder(const QString& relative);
    /// Creates an empty file at part(), the target of the next download.
    bool beginFile();
    /// Renames part() to the path of the file, replacing an existing one.
    bool finishFile(const QString& relative);

    const QString& part() const { return mPart; }
    const QString& fault() const { return mFault; }

private:
    bool fail(const QString& reason);

    QString mPath;
    QString mPart;
    QString mFault;
    std::unique_ptr<QTemporaryDir> mParts; ///< elsewhere, so that its names cannot collide with names of the site
};
