#include "PublishWorker.h"

#include <QMultiHash>
#include <QRegularExpression>

#include <utility>

namespace {

bool isOfSession(FTPFailure::Kind kind)
{
    return kind == FTPFailure::OfConnection || kind == FTPFailure::OfServer;
}

/// Whether the server has refused the login, or said that it closes the session.
bool wasTurnedAway(const FTPCurl& client)
{
    const QString reply = client.serverReply();
    return client.error() == ErrorableCode::of(CURLE_LOGIN_DENIED) || reply.startsWith(QLatin1String("421"))
        || reply.startsWith(QLatin1String("530"));
}

} // namespace

PublishWorker::PublishWorker(const Run& run, int number, std::future<std::unique_ptr<PublishSession>> session)
    : mRun(run)
    , mNumber(number)
    , mComingSession(std::move(session))
{
}

void PublishWorker::work()
{
    if (openSession()) {
        const auto connection = QObject::connect(
            &mSession->client(), &FTPCurl::uploadProgress, &mSession->client(),
            [this](qint64 sent, qint64 /*total*/) { mRun.queue.setCurrent(mNumber, sent); }, Qt::DirectConnection);
        auto task = mRun.queue.take(mNumber);
        while (task && perform(*task) == Next::GoOn) {
            task = mRun.queue.take(mNumber);
        }
        QObject::disconnect(connection);
    }
    mRun.queue.sessionEnded();
}

bool PublishWorker::openSession()
{
    if (mComingSession.valid()) {
        mSession = mComingSession.get();
        if (!mSession->isConnected()) {
            retire();
        }
        return !mIsRetired;
    }
    mSession = std::make_unique<PublishSession>();
    const bool isOpen = mSession->open(mRun.settings, mRun.options, mRun.prepare);
    // The first session was opened in the same way.
    if (!isOpen && !mSession->client().isInterruptionRequested() && !mRun.queue.retire()) {
        mRun.queue.stop(FTPFailure::reasonOf(mSession->client()));
    }
    return isOpen;
}

PublishWorker::Next PublishWorker::perform(const TransferQueue::Task& task)
{
    switch (task.kind) {
    case TransferQueue::Task::MakeFolder:
        makeFolder(task.index);
        break;
    case TransferQueue::Task::SendFile:
        sendFile(task.index);
        mRun.queue.setCurrent(mNumber, 0);
        break;
    case TransferQueue::Task::CheckFolder:
        checkFolder(task.index);
        break;
    case TransferQueue::Task::RemoveFile:
        removeFile(task.index);
        break;
    case TransferQueue::Task::SaveRecord:
        // A failure costs nothing but the time of sending files again after a crash.
        mSession->request([this] { return mRun.saveRecord(mSession->client()); });
        mRun.queue.recordSaved();
        break;
    }
    if (mIsRetired) {
        mRun.queue.giveBack(task);
    }
    return mIsRetired ? Next::Retire : Next::GoOn;
}

/// Runs a step until it succeeds, or fails for a reason other than the connection, or too often. A server that does not
/// let a session in although others are in has enough of them; a connection that breaks says nothing about that.
FTPFailure::Kind PublishWorker::attempt(const Step& step, int failures)
{
    while (true) {
        const bool wasConnected = mSession->isConnected();
        const FTPFailure::Kind kind = step();
        if (!isOfSession(kind)) {
            return kind;
        }
        if (!wasConnected && (kind == FTPFailure::OfServer || wasTurnedAway(mSession->client()))) {
            retire();
        }
        if (mIsRetired || mRun.queue.isStopped()) {
            return FTPFailure::Interrupted;
        }
        if (++failures > PublishSession::MAX_FAILURES) {
            return kind;
        }
        mSession->pause(failures);
    }
}

/// Unless it is the last session.
void PublishWorker::retire()
{
    mIsRetired = mRun.queue.retire();
    mIsTurnedAway = mIsRetired && wasTurnedAway(mSession->client());
}

/// Ends the run after a failure that concerns all files.
void PublishWorker::noteFailure(FTPFailure::Kind kind)
{
    if (kind == FTPFailure::OfConnection) {
        mRun.queue.noteBroken();
    }
    const bool isHopeless = kind == FTPFailure::OfConnection && mRun.queue.isHopeless();
    if (isHopeless || kind == FTPFailure::OfServer || (kind == FTPFailure::OfStorage && isFull())) {
        mRun.queue.stop(mReason);
    }
}

/// Whether the server has no space for any file. A 552 may also come from a limit for the size of a single file.
bool PublishWorker::isFull()
{
    return !mSession->client().serverReply().startsWith(QLatin1String("552")) || mRun.queue.noteRefusedSize();
}

FTPFailure::Kind PublishWorker::makeFolder(int folder)
{
    const QString path = QString::fromUtf8(mRun.plan.folders[folder].path);
    FTPFailure::Kind kind = attempt([&] { return create(path); });
    if (kind == FTPFailure::None && mRun.plan.folders[folder].isEmpty) {
        kind = attempt([&] { return confirmFolder(path); });
    }
    if (kind == FTPFailure::None) {
        mRun.queue.folderReady(folder);
    } else if (kind != FTPFailure::Interrupted) {
        noteFailure(kind);
        mRun.queue.folderFailed(folder, mReason);
    }
    return kind;
}

FTPFailure::Kind PublishWorker::create(const QString& folder)
{
    FTPCurl& client = mSession->client();
    const QString path = ServerFolders::requestPath(client, folder);
    if (path == QLatin1String("/")) {
        return FTPFailure::None; // the login directory
    }
    // Most folders are new; one that exists refuses.
    FTPFailure::Kind kind = mSession->request([&] { return client.internal_mkdir(path); });
    if (kind == FTPFailure::OfPath) {
        client.setExistingResourceCache(path, -1);
        mSession->setEntersDirectories(true);
        kind = mSession->request([&] { return client.createDirectory(path); });
        mSession->setEntersDirectories(false);
    }
    mReason = FTPFailure::reasonOf(client);
    return kind;
}

/// Some servers over FTP agree to create a directory although a file has its name. Uploads into it would show that.
FTPFailure::Kind PublishWorker::confirmFolder(const QString& folder)
{
    FTPCurl& client = mSession->client();
    if (client.ftpSettings().ftpProtocol() == FTPSettings::SFTP) {
        return FTPFailure::None;
    }
    const QString path = ServerFolders::requestPath(client, folder) + QLatin1Char('/');
    bool isThere = false;
    client.setExistingResourceCache(path, -1);
    mSession->setEntersDirectories(true);
    const FTPFailure::Kind kind = mSession->request([&] { return client.resourceExists(path, isThere); });
    mSession->setEntersDirectories(false);
    mReason = kind == FTPFailure::None ? QStringLiteral("a file of this name is on the server")
                                       : FTPFailure::reasonOf(client);
    return isThere || kind != FTPFailure::None ? kind : FTPFailure::OfPath;
}

FTPFailure::Kind PublishWorker::sendFile(int file)
{
    const QByteArray bytes = mRun.plan.bytePath(mRun.plan.files[file]);
    const QString path = QString::fromUtf8(bytes);
    UploadSource source(mRun.root + bytes);
    const int failures = mRun.plan.files[file].failures; // only the session that has the task uses it
    FTPFailure::Kind kind = attempt([&] { return upload(file, path, source); }, failures);
    if (kind == FTPFailure::None && source.hasChanged()) {
        mReason = QStringLiteral("it changed while it was sent");
        kind = FTPFailure::OfPath;
    }
    const bool isTouched = source.bytesRead() > 0 || kind == FTPFailure::Interrupted || isOfSession(kind);
    if (kind == FTPFailure::None) {
        mRun.queue.fileArrived(file, source.size(), source.digest());
        return kind;
    }
    if (isTouched && !mIsRetired && mRun.options.uploadMode == FTPCurl::InPlace) {
        mIncomplete << path;
    }
    if (kind != FTPFailure::Interrupted) {
        noteFailure(kind);
        mRun.queue.fileFailed(file, mReason);
    }
    return kind;
}

FTPFailure::Kind PublishWorker::upload(int file, const QString& path, UploadSource& source)
{
    const FTPFailure::Kind kind = uploadOnce(file, path, source);
    const bool isMissingFolder
        = kind == FTPFailure::OfPath && !source.hasChanged() && createMissing(mRun.plan.files[file].folder);
    return isMissingFolder ? uploadOnce(file, path, source) : kind;
}

FTPFailure::Kind PublishWorker::uploadOnce(int file, const QString& path, UploadSource& source)
{
    FTPCurl& client = mSession->client();
    if (!source.open(QIODevice::ReadOnly)) {
        mReason = source.errorString();
        return FTPFailure::OfPath;
    }
    // Without a time-out, an upload whose end is not confirmed counts as sent unless its size is verified.
    client.setVerifyUploads(mRun.options.stallTimeOut == 0 || !mRun.queue.isCheckedByListing(file));
    FTPFailure::Kind kind = mSession->request([&] { return client.putDataFromIoDevice(&source, path, path); });
    source.close();
    client.setExistingResourceCache(path, -1); // would keep the path of each file
    if (kind == FTPFailure::None && mRun.options.keepModificationTime) {
        kind = setTime(path, source.modified());
    }
    mReason = FTPFailure::reasonOf(client);
    // An upload of fewer bytes than announced looks like a broken connection.
    return source.hasChanged() && isOfSession(kind) ? FTPFailure::None : kind;
}

/// A file without its time is sent all the same.
FTPFailure::Kind PublishWorker::setTime(const QString& path, const QDateTime& time)
{
    const FTPFailure::Kind kind = mSession->request([&] { return mSession->client().setModificationTime(path, time); });
    mHasLostTimes = mHasLostTimes || kind == FTPFailure::OfPath;
    return kind == FTPFailure::OfPath ? FTPFailure::None : kind;
}

/// Creates a folder that was taken to exist, as the record has files in it; true if that makes another attempt worth
/// it.
bool PublishWorker::createMissing(int folder)
{
    if (!mAskedFolders.insert(folder).second) {
        return false;
    }
    const QString reason = mReason;
    const bool isCreated = create(QString::fromUtf8(mRun.plan.folders[folder].path)) == FTPFailure::None;
    mReason = reason;
    return isCreated;
}

FTPFailure::Kind PublishWorker::checkFolder(int folder)
{
    const QString path = QString::fromUtf8(mRun.plan.folders[folder].path);
    const std::vector<int> files = mRun.queue.arrivedFiles(folder);
    ServerFolders folders(mSession->client());
    const ServerFolders::Folder* listed = nullptr;
    FTPFailure::Kind kind = FTPFailure::None;
    const bool hasParts = mRun.options.uploadMode == FTPCurl::TemporaryName;
    if (!files.empty() || hasParts) {
        kind = attempt([&] { return mSession->request([&] { return (listed = folders.list(path)) != nullptr; }); });
    }
    for (const int file : files) {
        const PlannedFile& planned = mRun.plan.files[file];
        const bool isListed
            = listed && listed->entries.value(QString::fromUtf8(mRun.plan.name(planned))).size == planned.size;
        if (isListed) {
            mRun.queue.fileSent(file);
        } else if (!mIsRetired && kind != FTPFailure::Interrupted) {
            // The listing may leave it out, or not understand its line.
            kind = confirm(file);
        }
    }
    if (hasParts && listed && kind == FTPFailure::None) {
        removeParts(folder, listed->entries);
    }
    if (!mIsRetired && kind != FTPFailure::Interrupted) {
        mRun.queue.folderChecked();
    }
    return kind;
}

/// Removes what uploads under temporary names have left, in this run or an earlier one, next to files that are on the
/// server now. What cannot be removed is left to the next run.
void PublishWorker::removeParts(int folder, const ServerFolders::Entries& entries)
{
    static const QRegularExpression pattern(
        QRegularExpression::anchoredPattern(QStringLiteral("(.+)\\.[0-9a-f]{8}\\.(part|old)")),
        QRegularExpression::DotMatchesEverythingOption);
    QMultiHash<QString, QString> parts; // by the name of the file
    for (const RemoteEntry& entry : entries) {
        const QRegularExpressionMatch match = pattern.match(entry.name);
        if (entry.kind == RemoteEntry::File && match.hasMatch()) {
            parts.insert(match.captured(1), entry.name);
        }
    }
    FTPCurl& client = mSession->client();
    const PlannedFolder& planned = mRun.plan.folders[folder];
    for (int i = planned.firstFile; i < planned.firstFile + planned.fileCount && !parts.isEmpty(); ++i) {
        const QString name = QString::fromUtf8(mRun.plan.name(mRun.plan.files[i]));
        for (const QString& file : parts.uniqueKeys()) {
            parts.remove(file, name); // a file of the local folder
        }
    }
    const QString path = QString::fromUtf8(planned.path);
    for (const QString& name : parts.isEmpty() ? QStringList() : mRun.queue.filesOnServer(folder)) {
        for (const QString& part : parts.values(name)) {
            mSession->request(
                [&] { return client.removeSimpleResource(client.canonicalizedFilePath(path + part), false); });
        }
    }
}

/// Verifies a file by itself.
FTPFailure::Kind PublishWorker::confirm(int file)
{
    PlannedFile& planned = mRun.plan.files[file];
    const QString path = mRun.plan.path(planned);
    qint64 size = -1;
    const FTPFailure::Kind kind = attempt(
        [&] { return mSession->request([&] { return ServerFolders::sizeOf(mSession->client(), path, size); }); });
    if (kind == FTPFailure::Interrupted) {
        return kind;
    }
    if (kind != FTPFailure::None) {
        mReason = FTPFailure::reasonOf(mSession->client());
        mIncomplete << path;
        noteFailure(kind);
        mRun.queue.fileFailed(file, mReason);
    } else if (size == planned.size) {
        mRun.queue.fileSent(file);
    } else if (++planned.failures <= PublishSession::MAX_FAILURES) {
        mRun.queue.fileNotWhole(file);
    } else {
        mIncomplete << path;
        mRun.queue.fileFailed(file,
            QStringLiteral("the server has %1 of %2 bytes")
                .arg(QString::number(qMax(size, qint64 { 0 })), QString::number(planned.size)));
    }
    return kind;
}

FTPFailure::Kind PublishWorker::removeFile(int obsolete)
{
    FTPCurl& client = mSession->client();
    const QString path = QString::fromUtf8(mRun.plan.obsolete[obsolete].path);
    const FTPFailure::Kind kind = attempt([&] {
        return mSession->request(
            [&] { return client.removeSimpleResource(client.canonicalizedFilePath(path), false); });
    });
    if (kind == FTPFailure::None) {
        mRun.queue.obsoleteRemoved(obsolete);
    } else if (kind != FTPFailure::Interrupted) {
        mReason = FTPFailure::reasonOf(client);
        noteFailure(kind);
        mRun.queue.obsoleteFailed(obsolete, mReason);
    }
    return kind;
}
