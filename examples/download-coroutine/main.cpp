// download-coroutine URL FILE [URL FILE]...: downloads one file after the other with co_await (C++20). The example
// download-signals does it with signals.

#include "DetachedTask.h"
#include "FutureAwaiter.h"

#include <tavrel/FileDownloader.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>
#include <QDebug>
#include <QStringList>
#include <QTimer>

namespace {

//! [coroutine]
/// Exits the event loop at the end.
DetachedTask download(QStringList urlsAndFiles)
{
    FileDownloader downloader;
    bool success = true;
    while (success && !urlsAndFiles.isEmpty()) {
        const QString url = urlsAndFiles.takeFirst();
        const QString file = urlsAndFiles.takeFirst();
        success = co_await downloader.downloadAsync(url, file); // The event loop runs meanwhile.
        qInfo().noquote() << file << (success ? QStringLiteral("done") : downloader.errorText());
    }
    QCoreApplication::exit(success ? 0 : 1);
}
//! [coroutine]

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer; // before the application object
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty() || arguments.size() % 2 != 0) {
        qWarning() << "usage: download-coroutine URL FILE [URL FILE]...";
        return 2;
    }
    QTimer start; // from the event loop, as the coroutine exits it
    start.setSingleShot(true);
    QObject::connect(&start, &QTimer::timeout, &application, [&arguments] { download(arguments); });
    start.start();
    return QCoreApplication::exec();
}
