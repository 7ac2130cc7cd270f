#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/**
 * The content of a local folder in upload order: the files of a folder, then its sub-folders, by name, so that the
 * connection seldom changes its directory.
 *
 * Paths are relative to the folder; those of folders end in a slash, and the folder itself is "". Hidden files are
 * included. Symbolic links to files are followed; those to folders are skipped.
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

    /// False, with the reason in fault(), if the folder does not exist or cannot be read.
    bool read(const QString& folder);
    const QString& fault() const { return mFault; }

    const QVector<Folder>& folders() const { return mFolders; }
    /// Entries that cannot be sent, one line each.
    const QStringList& leftOut() const { return mLeftOut; }
    /// Sub-folders that cannot be read, one line each; without them the site is incomplete.
    const QStringList& unreadable() const { return mUnreadable; }
    int fileCount() const { return mFileCount; }
    qint64 totalBytes() const { return mTotalBytes; }

    /// The absolute path of a file.
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
