// publish --settings FILE FOLDER: uploads a local folder to a server; also lists, fetches, removes and changes modes.

#include "FetchTask.h"
#include "InterruptKey.h"
#include "LocalSite.h"
#include "Options.h"
#include "ProgressLine.h"
#include "PublishTask.h"
#include "RemoteTasks.h"
#include "Worker.h"

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/TavrelInitializer.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QTextCodec>
#include <QTimer>
#include <QVector>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2, Interrupted = 130 };

constexpr int REFRESH_MS = 100;
const char* const DESCRIPTION = "Publishes a local folder as a site on a server, and looks after what is there:\n"
                                "  publish --settings FILE FOLDER\n"
                                "  publish --settings FILE --list [PATH]\n"
                                "  publish --settings FILE --fetch FOLDER [PATH]\n"
                                "  publish --settings FILE --remove [PATH...]\n"
                                "  publish --settings FILE --chmod MODE PATH...";

int complain(ExitStatus status, const QString& text)
{
    std::fprintf(stderr, "publish: %s\n", qUtf8Printable(text));
    return status;
}

/// Why the settings cannot be used; empty if they can.
QString faultOf(const FTPSettings& settings, const Options& options)
{
    if (settings.host().isEmpty()) {
        return QStringLiteral("%1 names no host").arg(options.settings());
    }
    const QVector<FTPSettings::Protocol> protocols { FTPSettings::FTP, FTPSettings::FTPS_EXPLICIT,
        FTPSettings::FTPS_IMPLICIT, FTPSettings::SFTP };
    if (!protocols.contains(settings.ftpProtocol())) {
        return QStringLiteral("%1 names an unknown protocol").arg(options.settings());
    }
    if (settings.port() < 1) {
        return QStringLiteral("%1 names no port, and this protocol has no usual one").arg(options.settings());
    }
    const QString site = settings.ftpFolder() + settings.publicSubFolder();
    if (options.action() == Options::Remove && options.paths().isEmpty() && QDir::cleanPath(site).size() <= 1) {
        return QStringLiteral("%1 names no folder; name the paths to remove").arg(options.settings());
    }
    return QString();
}

std::unique_ptr<Task> publishTask(const Options& options, QString& fault)
{
    LocalSite site;
    if (!site.read(options.folder())) {
        fault = site.fault();
        return nullptr;
    }
    if (site.fileCount() == 0) {
        complain(Done, QStringLiteral("%1 holds no file").arg(options.folder()));
    }
    return std::make_unique<PublishTask>(std::move(site));
}

std::unique_ptr<Task> fetchTask(const Options& options, QString& fault)
{
    FetchFolder folder(options.folder());
    if (!folder.open()) {
        fault = folder.fault();
        return nullptr;
    }
    return std::make_unique<FetchTask>(std::move(folder), options.paths().value(0));
}

/// The task for the options; null, with the reason in fault, if it cannot be started.
std::unique_ptr<Task> makeTask(const Options& options, QString& fault)
{
    switch (options.action()) {
    case Options::Publish:
        return publishTask(options, fault);
    case Options::Fetch:
        return fetchTask(options, fault);
    case Options::List:
        return std::make_unique<ListTask>(options.paths().value(0));
    case Options::Details:
        return std::make_unique<DetailsTask>(options.paths().value(0));
    case Options::Remove:
        return std::make_unique<RemoveTask>(options.paths());
    case Options::Chmod:
        break;
    }
    return std::make_unique<ChmodTask>(options.mode(), options.paths());
}

int conclude(const Report& report)
{
    for (const QString& line : report.summary()) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(ProgressLine::printable(line)));
    }
    return report.wasInterrupted() ? Interrupted : report.hasFailures() ? Failed : Done;
}

int run(const FTPSettings& settings, Task& task, const Options& options)
{
    ProgressLine bar;
    Worker worker(settings, task, [&options](FTPCurl& client) { return options.setUp(client); });
    const InterruptKey interruptKey;
    QTimer refresh;
    const auto showProgress = [&] {
        if (const auto progress = task.progress()) {
            bar.show(progress->percent, progress->bytes);
        }
    };
    QObject::connect(&worker, &Worker::line, &refresh, [&](const QString& line) { bar.print(line); });
    QObject::connect(&interruptKey, &InterruptKey::pressed, &worker, [&] { worker.requestInterruption(); });
    QObject::connect(&refresh, &QTimer::timeout, &refresh, showProgress);
    // Queued, so that it comes after all lines.
    QObject::connect(&worker, &Worker::finished, &refresh, &QCoreApplication::quit);
    refresh.start(REFRESH_MS);
    worker.start();
    QCoreApplication::exec();
    showProgress();
    bar.finish();
    return conclude(worker.report());
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    // File names are UTF-8 in every locale, so that a run from cron sends the same names.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(DESCRIPTION));
    const QCommandLineOption help = parser.addHelpOption();
    Options::addTo(parser);
    if (!parser.parse(QCoreApplication::arguments())) {
        return complain(WrongUsage, parser.errorText());
    }
    if (parser.isSet(help)) {
        parser.showHelp(Done);
    }
    Options options;
    if (!options.read(parser)) {
        return complain(WrongUsage, options.fault());
    }
    FTPSettingsSerializable settings;
    if (!settings.load(options.settings())) {
        return complain(Failed, QStringLiteral("%1 holds no settings").arg(options.settings()));
    }
    QString fault = faultOf(settings, options);
    const std::unique_ptr<Task> task = fault.isEmpty() ? makeTask(options, fault) : nullptr;
    return task ? run(settings, *task, options) : complain(Failed, fault);
}
