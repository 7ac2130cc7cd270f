// quickstart download URL FILE | post URL TEXT | publish SETTINGS FOLDER: the shortest use of three classes.

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/FileDownloader.h>
#include <tavrel/FolderPublisher.h>
#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>
#include <QDebug>
#include <QJsonObject>

namespace {

//! [download]
bool download(const QString& url, const QString& file)
{
    FileDownloader downloader;
    QObject::connect(&downloader, &FileDownloader::progress, qApp, [](double percent) { qInfo() << percent << "%"; });
    QObject::connect(&downloader, &FileDownloader::done, qApp, [](bool success) { QCoreApplication::exit(!success); });
    downloader.download(url, file); // returns at once; the work is done on another thread
    const bool success = QCoreApplication::exec() == 0;
    if (!success) {
        qWarning() << downloader.errorText();
    }
    return success;
}
//! [download]

//! [post]
bool post(const QString& url, const QString& text)
{
    HTTPCurl client;
    client.setTimeOut(60); // in seconds
    if (!client.postForm(url, QJsonObject { { QStringLiteral("text"), text } })) {
        qWarning() << client.errorText();
        return false;
    }
    qInfo() << client.response();
    return true;
}
//! [post]

//! [publish]
bool publish(const QString& settingsFile, const QString& folder)
{
    FTPSettingsSerializable settings;
    if (!settings.load(settingsFile)) {
        qWarning() << "cannot load" << settingsFile;
        return false;
    }
    FolderPublisher publisher;
    QObject::connect(&publisher, &FolderPublisher::progress, qApp,
        [](const PublishProgress& progress) { qInfo() << progress.files << "of" << progress.totalFiles; });
    QObject::connect(&publisher, &FolderPublisher::done, qApp, [](bool success) { QCoreApplication::exit(!success); });
    // publish() returns at once; the work is done on other threads.
    const bool success = publisher.publish(settings, folder) && QCoreApplication::exec() == 0;
    const PublishReport report = publisher.report();
    for (const PublishReport::Failure& failure : report.failed) {
        qWarning() << failure.path << failure.reason;
    }
    if (!report.stopReason.isEmpty()) {
        qWarning() << report.stopReason; // such as a refused login
    }
    return success;
}
//! [publish]

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer; // before the application object
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        qWarning() << "usage: quickstart download URL FILE | post URL TEXT | publish SETTINGS FOLDER";
        return 2;
    }
    const QString& task = arguments.at(1);
    auto* const run = task == QStringLiteral("publish") ? publish : task == QStringLiteral("post") ? post : download;
    return run(arguments.at(2), arguments.at(3)) ? 0 : 1;
}
