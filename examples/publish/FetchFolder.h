#pragma once

#include <QString>
#include <QTemporaryDir>

#include <memory>

/**
 * The local side of a fetch. A file is downloaded beside its place and put there when it is complete, so that a failure
 * leaves the old one as it was.
 *
 * Relative paths are made of plain names, see RemoteTree. Nothing is written through a symbolic link below the folder.
 */
class FetchFolder
{
public:
    explicit FetchFolder(QString path);

    /// Creates the folder if it is missing. This and the others return false with the reason in fault().
    bool open();
    /// Creates a folder whose parent is there already; true when it exists.
    bool makeFolder(const QString& relative);
    /// Makes an empty file at part(), where the next download goes.
    bool beginFile();
    /// Moves what is at part() to its place, over what is there.
    bool finishFile(const QString& relative);

    const QString& part() const { return mPart; }
    const QString& fault() const { return mFault; }

private:
    bool fail(const QString& reason);

    QString mPath;
    QString mPart;
    QString mFault;
    std::unique_ptr<QTemporaryDir> mParts; ///< a name in it can be that of no file of the site
};
