#include "LocalSite.h"

#include <QDir>
#include <QFileInfo>

bool LocalSite::read(const QString& folder)
{
    const QFileInfo info(folder);
    if (!info.isDir()) {
        mFault = QStringLiteral("%1 is no folder").arg(folder);
        return false;
    }
    if (!info.isReadable() || !info.isExecutable()) {
        mFault = QStringLiteral("%1 cannot be read").arg(folder);
        return false;
    }
    mRoot = info.absoluteFilePath();
    if (!mRoot.endsWith(QLatin1Char('/'))) {
        mRoot += QLatin1Char('/');
    }
    readFolder(QString());
    return true;
}

void LocalSite::readFolder(const QString& path)
{
    const QFileInfo self(localPath(path));
    if (!self.isReadable() || !self.isExecutable()) {
        mUnreadable << path;
        return;
    }
    Folder folder { path, {} };
    QStringList subFolders;
    // System: includes pipes and dangling links, so that they are reported.
    const auto filter = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo& entry : QDir(localPath(path)).entryInfoList(filter, QDir::Name)) {
        const QString name = path + entry.fileName();
        if (entry.isFile()) {
            addFile(folder, name, entry.size());
        } else if (entry.isDir() && !entry.isSymLink()) {
            subFolders << name + QLatin1Char('/');
        } else {
            const char* const kind = entry.isDir() ? "a symbolic link to a folder"
                : entry.isSymLink()                ? "a symbolic link to nothing"
                                                   : "neither file nor folder";
            mLeftOut << QStringLiteral("%1  left out: %2").arg(name, QString::fromLatin1(kind));
        }
    }
    mFolders << folder;
    for (const QString& subFolder : subFolders) {
        readFolder(subFolder);
    }
}

void LocalSite::addFile(Folder& folder, const QString& path, qint64 size)
{
    folder.files << File { path, size };
    ++mFileCount;
    mTotalBytes += size;
}
