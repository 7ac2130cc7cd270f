#include "PublishTask.h"

#include "Failure.h"
#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <QFile>

#include <utility>

PublishTask::PublishTask(LocalSite site)
    : mSite(std::move(site))
{
}

std::optional<Progress> PublishTask::progress() const
{
    const qint64 sent = mSent + mCurrent;
    const auto total = static_cast<double>(qMax<qint64>(mSite.totalBytes(), 1));
    return Progress { qMin(100.0, 100.0 * static_cast<double>(sent + mFailed) / total), sent };
}

void PublishTask::run(FTPCurl& client, Report& report)
{
    QObject::connect(
        &client, &FTPCurl::uploadProgress, &client, [this](qint64 sent, qint64 /*total*/) { mCurrent = sent; });
    for (const QString& line : mSite.leftOut()) {
        report.remark(line);
    }
    for (const QString& folder : mSite.unreadable()) {
        report.failed(folder, QStringLiteral("the folder cannot be read here"));
    }
    for (const LocalSite::Folder& folder : mSite.folders()) {
        publishFolder(client, report, folder);
    }
}

void PublishTask::publishFolder(FTPCurl& client, Report& report, const LocalSite::Folder& folder)
{
    const bool isThere = makeFolder(client, report, folder.path);
    for (const LocalSite::File& file : folder.files) {
        if (isThere && report.goesOn(client)) {
            publishFile(client, report, file);
        } else {
            report.notTried(file.path);
        }
    }
}

/// An empty path is the site's folder.
bool PublishTask::makeFolder(FTPCurl& client, Report& report, const QString& path)
{
    const QString folder = path.isEmpty() ? RemoteTree::siteFolder(client) : path;
    const QString shown = path.isEmpty() ? client.canonicalizedRelativeFilePath(folder) : path;
    const bool isBelowFailed = mFailedFolder && path.startsWith(*mFailedFolder);
    if (isBelowFailed || !report.goesOn(client)) {
        report.notTried(shown);
        return false;
    }
    if (folder == QLatin1String("/") || client.createDirectory(folder)) {
        return true; // the login directory exists
    }
    mFailedFolder = path;
    report.failed(shown, client);
    return false;
}

void PublishTask::publishFile(FTPCurl& client, Report& report, const LocalSite::File& file)
{
    const bool isSent = sendFile(client, report, file);
    const qint64 sent = isSent ? file.size : mCurrent.load();
    mCurrent = 0;
    mSent += sent;
    if (!client.isInterruptionRequested()) {
        mFailed += file.size - sent;
    }
}

/// By default putFile() counts a time-out as success, as the file may have arrived; here all bytes must have been sent.
bool PublishTask::confirm(FTPCurl& client, Report& report, const QString& path, qint64 size)
{
    const bool isCertain
        = client.resumesTransfers() || client.verifiesUploads() || client.uploadMode() != FTPCurl::InPlace;
    curl_off_t sent = 0;
    curl_easy_getinfo(client.curlhandle(), CURLINFO_SIZE_UPLOAD_T, &sent);
    if (!isCertain && sent < size) {
        report.incomplete(path, sent > 0);
        report.failedFinally(path, QStringLiteral("the server does not answer"));
        return false;
    }
    report.succeeded(path, size);
    return true;
}

bool PublishTask::sendFile(FTPCurl& client, Report& report, const LocalSite::File& file)
{
    // putFile() does not report why it cannot read a file.
    QFile local(mSite.localPath(file.path));
    if (!local.open(QIODevice::ReadOnly)) {
        report.failed(file.path, local.errorString());
        return false;
    }
    if (client.putFile(local.fileName(), file.path, false)) {
        return confirm(client, report, file.path, local.size());
    }
    // There is no progress before the first signal.
    const bool isStarted = mCurrent > 0 && mCurrent < file.size;
    if (isStarted || client.isInterruptionRequested() || Failure::isOfConnection(client.error())) {
        report.incomplete(file.path, isStarted);
    }
    report.failed(file.path, client);
    return false;
}
