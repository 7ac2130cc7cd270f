// download-signals URL FILE [URL FILE]...: downloads one file after the other with signals and slots. The example
// download-coroutine does it with co_await.

#include <tavrel/FileDownloader.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>
#include <QDebug>
#include <QStringList>

namespace {

//! [signals]
/// Exits the event loop after the last download, or after one that fails.
class DownloadList : public QObject
{
public:
    explicit DownloadList(const QStringList& urlsAndFiles)
        : mUrlsAndFiles(urlsAndFiles)
    {
        // Emitted on the download thread; the slots run on the thread of this object, by its event loop.
        connect(&mDownloader, &FileDownloader::progress, this, &DownloadList::showProgress);
        connect(&mDownloader, &FileDownloader::done, this, &DownloadList::takeResult);
    }

    void startNext()
    {
        const QString url = mUrlsAndFiles.takeFirst();
        mFile = mUrlsAndFiles.takeFirst();
        mDownloader.download(url, mFile); // returns at once
    }

private:
    void showProgress(double percent) { qInfo().noquote() << mFile << percent << '%'; }
    void takeResult(bool success)
    {
        qInfo().noquote() << mFile << (success ? QStringLiteral("done") : mDownloader.errorText());
        if (success && !mUrlsAndFiles.isEmpty()) {
            startNext();
        } else {
            QCoreApplication::exit(success ? 0 : 1);
        }
    }

    QStringList mUrlsAndFiles;
    QString mFile;
    FileDownloader mDownloader;
};
//! [signals]

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer; // before the application object
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty() || arguments.size() % 2 != 0) {
        qWarning() << "usage: download-signals URL FILE [URL FILE]...";
        return 2;
    }
    DownloadList list(arguments);
    list.startNext();
    return QCoreApplication::exec();
}
