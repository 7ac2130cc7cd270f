#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/**
 * What a local folder holds, in the order in which it is sent: the files of a folder, then its sub-folders, by name. So
 * the connection seldom changes its directory.
 *
 * Paths are relative to the folder; those of folders end in a slash, and the folder itself is "". Hidden files count.
 * A symbolic link to a file is that file; one to a folder is left out.
 */
class LocalSite
{
public:
    struct File
    {
        QString path;
        qint64 size = 0;
    };

    struct Folder
    {
        QString path;
        QVector<File> files;
    };

    /// False, with the reason in fault(), when there is no such folder or it cannot be read.
    bool read(const QString& folder);
    const QString& fault() const { return mFault; }

    const QVector<Folder>& folders() const { return mFolders; }
    /// What is below the folder and cannot be sent: a line each.
    const QStringList& leftOut() const { return mLeftOut; }
    /// The same, for sub-folders that cannot be read: the site would not be whole without them.
    const QStringList& unreadable() const { return mUnreadable; }
    int fileCount() const { return mFileCount; }
    qint64 totalBytes() const { return mTotalBytes; }

    /// Where a file of the site is.
    QString localPath(const QString& path) const { return mRoot + path; }

private:
    void readFolder(const QString& path);
    void addFile(Folder& folder, const QString& path, qint64 size);

    QString mRoot; ///< ends in a slash
    QString mFault;
    QVector<Folder> mFolders;
    QStringList mLeftOut;
    QStringList mUnreadable;
    int mFileCount = 0;
    qint64 mTotalBytes = 0;
};
