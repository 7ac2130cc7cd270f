#include "PublishRun.h"

namespace {

QByteArray parentOf(const QByteArray& path)
{
    return path.left(path.lastIndexOf('/', path.size() > 0 ? path.size() - 2 : 0) + 1);
}

} // namespace

/// Of files to remove, the ones whose name a folder has now, and the ones whose folder's name a file has now.
std::vector<ObsoleteFile*> PublishRun::findObstacles()
{
    std::map<QByteArray, bool> names; // that would be in the way, and whether the local folder has them
    for (const ObsoleteFile& file : mPlan.obsolete) {
        names[file.path + '/'] = false;
        for (QByteArray folder = parentOf(file.path); !folder.isEmpty(); folder = parentOf(folder)) {
            names[folder.chopped(1)] = false;
        }
    }
    const auto note = [&names](const QByteArray& path) {
        const auto name = names.find(path);
        if (name != names.end()) {
            name->second = true;
        }
    };
    for (const PlannedFolder& folder : mPlan.folders) {
        note(folder.path);
    }
    for (const PlannedFile& file : names.empty() ? std::vector<PlannedFile>() : mPlan.files) {
        note(mPlan.bytePath(file));
    }
    std::vector<ObsoleteFile*> obstacles;
    for (ObsoleteFile& file : mPlan.obsolete) {
        bool isObstacle = names[file.path + '/'];
        for (QByteArray folder = parentOf(file.path); !folder.isEmpty(); folder = parentOf(folder)) {
            isObstacle |= names[folder.chopped(1)];
        }
        if (isObstacle) {
            obstacles.push_back(&file);
        }
    }
    return obstacles;
}

/// Before anything is sent: a file has become a folder, or a folder a file. What cannot be removed is tried again at
/// the end of the run, and reported then.
void PublishRun::removeObstacles()
{
    FTPCurl& client = mSession->client();
    for (ObsoleteFile* const file : findObstacles()) {
        const QString path = QString::fromUtf8(file->path);
        const auto remove = [&] { return client.removeSimpleResource(client.canonicalizedFilePath(path), false); };
        if (!mListener.isInterrupted() && mSession->requestPatiently(remove) == FTPFailure::None) {
            file->isRemoved = true;
            mPlan.others.take(file->path);
            mListener.fileFinished(path, FolderPublisher::Removed, QString());
        }
    }
    removeEmptyFolders();
}

/// Removes folders of removed files that the local folder does not have, each one once: its name may then be a file's.
void PublishRun::removeEmptyFolders()
{
    std::set<QByteArray> kept;
    for (const PlannedFolder& folder : mPlan.folders) {
        kept.insert(folder.path);
    }
    std::set<QByteArray, std::greater<>> emptied; // a folder comes after those in it
    for (const ObsoleteFile& file : mPlan.obsolete) {
        QByteArray folder = parentOf(file.path);
        while (file.isRemoved && kept.count(folder) == 0) {
            emptied.insert(folder);
            folder = parentOf(folder);
        }
    }
    FTPCurl& client = mSession->client();
    for (const QByteArray& folder : emptied) {
        if (!mListener.isInterrupted() && mEmptied.insert(folder).second) {
            client.tryRemoveDirIfEmpty(client.canonicalizedFilePath(QString::fromUtf8(folder).chopped(1)));
        }
    }
}
