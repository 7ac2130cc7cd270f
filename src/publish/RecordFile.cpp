#include "RecordFile.h"

#include "PublishPlan.h"

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
    // The line break ends a line that was cut off.
    const bool isAppended = mClient.putData('\n' + lines, NAME, false);
    curl_easy_setopt(mClient.curlhandle(), CURLOPT_APPEND, 0L);
    return isAppended;
}

bool RecordFile::write(const QString& local, bool replaces)
{
    return replaces ? mClient.putFile(local, NEW_NAME, false) && rename() : mClient.putFile(local, NAME, false);
}

bool RecordFile::rename()
{
    if (mClient.rename(NEW_NAME, NAME)) {
        return true;
    }
    // Some servers do not replace a file by a rename.
    return mClient.error() == ErrorableCode::of(CURLE_QUOTE_ERROR)
        && mClient.removeSimpleResource(mClient.canonicalizedFilePath(NAME), false) && mClient.rename(NEW_NAME, NAME);
}
