#include "RecordFile.h"

#include "PublishPlan.h"
#include "ServerFolders.h"

#include <tavrel/FTPCurl.h>

#include <QTemporaryFile>

namespace {

const QString NAME = QString::fromLatin1(SiteRecord::FILE_NAME);

bool writeLine(QTemporaryFile& file, const QByteArray& line)
{
    return file.write(line) == line.size();
}

} // namespace

RecordFile::RecordFile(FTPCurl& client)
    : mClient(client)
{
}

bool RecordFile::format(const PublishPlan& plan, QTemporaryFile& local)
{
    bool isWritten = writeLine(local, SiteRecord::firstLine());
    for (const PlannedFile& file : plan.files) {
        if (file.isOnServer()) {
            isWritten &= writeLine(local, SiteRecord::line(plan.bytePath(file), { file.size, file.digest, true }));
        } else if (file.recordedSize >= 0) {
            isWritten &= writeLine(local, SiteRecord::line(plan.bytePath(file), { file.recordedSize, {}, false }));
        }
    }
    const SiteRecord::Entries& others = plan.others.entries();
    for (auto other = others.begin(); other != others.end(); ++other) {
        isWritten &= writeLine(local, SiteRecord::line(other.key(), *other));
    }
    return isWritten && local.flush();
}

bool RecordFile::mark(const PublishPlan& plan)
{
    QByteArray marks;
    for (const PlannedFile& file : plan.files) {
        if (file.state == PlannedFile::ToSend && file.recordedSize >= 0) {
            marks += SiteRecord::line(plan.bytePath(file), { file.recordedSize, {}, false });
        }
    }
    return append(marks);
}

bool RecordFile::addSent(const PublishPlan& plan)
{
    QByteArray lines;
    for (const PlannedFile& file : plan.files) {
        if (file.state == PlannedFile::Sent) {
            lines += SiteRecord::line(plan.bytePath(file), { file.size, file.digest, true });
        }
    }
    return append(lines);
}

/// Deliberate: appending takes fewer commands than writing, but follows a symbolic link that a neighbour has put in
/// place of the record since it was read. The lines name local files only, so that the neighbour does not choose them.
bool RecordFile::append(const QByteArray& lines)
{
    const QByteArray bytes = SiteRecord::separator() + lines;
    // Some SFTP servers ignore the flag and overwrite the beginning.
    const bool isCompared = mClient.ftpSettings().ftpProtocol() == FTPSettings::SFTP;
    qint64 before = 0;
    if (isCompared && !ServerFolders::sizeOf(mClient, NAME, before)) {
        return false;
    }
    curl_easy_setopt(mClient.curlhandle(), CURLOPT_APPEND, 1L);
    const bool isAppended = mClient.putData(bytes, NAME, false);
    curl_easy_setopt(mClient.curlhandle(), CURLOPT_APPEND, 0L);
    qint64 after = 0;
    return isAppended
        && (!isCompared || (ServerFolders::sizeOf(mClient, NAME, after) && after == before + bytes.size()));
}

/// A neighbour on the server who can write to the folder cannot redirect this to another file of the account: the file
/// is created under a name that nobody knows, and a rename replaces a symbolic link instead of following it.
bool RecordFile::write(const QString& local, RecordPlace& place)
{
    const QString name = SiteRecord::newSecondName();
    place.secondNames << name;
    if (!mClient.putFile(local, name, false)) {
        return false;
    }
    const bool isRenamed = mClient.rename(name, NAME) || (isRefused() && makeRoom(name) && mClient.rename(name, NAME));
    if (!isRenamed && !isRefused()) {
        return false;
    }
    // A server that does not rename keeps the record under its second name, and lists it for the next run.
    place.isInPlace = isRenamed;
    QStringList outdated = place.secondNames;
    outdated.removeAll(name);
    remove(outdated);
    place.secondNames = isRenamed ? QStringList() : QStringList(name);
    return true;
}

void RecordFile::removeLeftOvers(const RecordPlace& place)
{
    QStringList names = namesOnServer(mClient);
    for (const QString& name : place.secondNames) {
        names.removeAll(name);
    }
    remove(names);
}

QStringList RecordFile::namesOnServer(FTPCurl& client)
{
    QStringList names;
    ServerFolders folders(client);
    const ServerFolders::Folder* const folder = folders.list(QString());
    for (const RemoteEntry& entry : folder ? folder->entries : ServerFolders::Entries()) {
        if (SiteRecord::isSecondName(entry.name)) {
            names << entry.name;
        }
    }
    return names;
}

/// Whether the last command was answered with a refusal.
bool RecordFile::isRefused() const
{
    return mClient.error() == ErrorableCode::of(CURLE_QUOTE_ERROR);
}

/// Some servers do not replace a file by a rename. The old record stays if the new one has gone.
bool RecordFile::makeRoom(const QString& name)
{
    qint64 size = -1;
    const bool isGone = ServerFolders::sizeOf(mClient, name, size) && size < 0;
    return !isGone && (mClient.removeSimpleResource(mClient.canonicalizedFilePath(NAME), false) || isRefused());
}

/// A later run removes files that stay. The command removes a symbolic link, not what is behind it.
void RecordFile::remove(const QStringList& names)
{
    for (const QString& name : names) {
        mClient.removeSimpleResource(mClient.canonicalizedFilePath(name), false);
        mClient.clearError();
    }
}
