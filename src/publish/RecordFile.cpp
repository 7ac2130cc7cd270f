#include "RecordFile.h"

#include "PublishPlan.h"
#include "ServerFolders.h"

#include <tavrel/FTPCurl.h>

#include <QTemporaryFile>

namespace {

const QString NAME = QString::fromLatin1(SiteRecord::FILE_NAME);
const QString NEW_NAME = QString::fromLatin1(SiteRecord::NEW_FILE_NAME);

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
    for (const ObsoleteFile& file : plan.obsolete) {
        marks += SiteRecord::line(file.path, plan.others.entries().value(file.path));
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

bool RecordFile::append(const QByteArray& lines)
{
    curl_easy_setopt(mClient.curlhandle(), CURLOPT_APPEND, 1L);
    const bool isAppended = mClient.putData(SiteRecord::separator() + lines, NAME, false);
    curl_easy_setopt(mClient.curlhandle(), CURLOPT_APPEND, 0L);
    return isAppended;
}

bool RecordFile::write(const QString& local, RecordPlace& place)
{
    const bool isAside = place == RecordPlace::Aside;
    if (isAside && !adopt(place)) {
        return false;
    }
    if (place == RecordPlace::InPlace) {
        return replace(local, place);
    }
    if (!mClient.putFile(local, NAME, false)) {
        return false;
    }
    place = RecordPlace::InPlace;
    return !isAside || removeNew();
}

/// Whether the last command was answered with a refusal.
bool RecordFile::isRefused() const
{
    return mClient.error() == ErrorableCode::of(CURLE_QUOTE_ERROR);
}

/// Gives a record its name, so that writing the next one does not truncate the only one. On a server that does not
/// rename, it stays where it is.
bool RecordFile::adopt(RecordPlace& place)
{
    if (mClient.rename(NEW_NAME, NAME)) {
        place = RecordPlace::InPlace;
        return true;
    }
    // It may have been renamed before the connection broke.
    qint64 size = -1;
    const bool isKnown = isRefused() && ServerFolders::sizeOf(mClient, NAME, size);
    place = size >= 0 ? RecordPlace::InPlace : place;
    return isKnown;
}

bool RecordFile::replace(const QString& local, RecordPlace& place)
{
    if (!mClient.putFile(local, NEW_NAME, false)) {
        return false;
    }
    if (mClient.rename(NEW_NAME, NAME)) {
        return true;
    }
    if (!isRefused()) {
        return false;
    }
    // Some servers do not replace a file by a rename, and some do not rename at all.
    place = RecordPlace::Aside;
    const bool isRenamed
        = mClient.removeSimpleResource(mClient.canonicalizedFilePath(NAME), false) && mClient.rename(NEW_NAME, NAME);
    const bool isWritten = isRenamed || (isRefused() && mClient.putFile(local, NAME, false) && removeNew());
    place = isWritten ? RecordPlace::InPlace : place;
    return isWritten;
}

/// A record under the second name would be out of date after the next change.
bool RecordFile::removeNew()
{
    return mClient.removeSimpleResource(mClient.canonicalizedFilePath(NEW_NAME), false) || isRefused();
}
