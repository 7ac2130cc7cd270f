// tavrel-publish --settings FILE FOLDER: publishes a folder; also lists, fetches, removes, changes modes, and
// diagnoses.

#include "Doctor.h"
#include "Events.h"
#include "FetchTask.h"
#include "InterruptKey.h"
#include "Options.h"
#include "Output.h"
#include "ProgressLine.h"
#include "RemoteTasks.h"
#include "Site.h"
#include "Terminal.h"
#include "Worker.h"

#include <tavrel/FolderPublisher.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>
#include <QTimer>
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QTextCodec>
#endif

#include <memory>

namespace {

constexpr int REFRESH_MS = 100;

const QString NO_THREAD = QStringLiteral("the system has no further thread");

/// Publishes with the trust and the login of a site.
class SitePublisher : public FolderPublisher
{
public:
    explicit SitePublisher(const Site& site)
        : mSite(site)
    {
        setTrust(site.trust());
    }
    ~SitePublisher() override { interruptAndWait(); }

protected:
    bool prepareSession(FTPCurl& client) override { return mSite.prepare(client); }

private:
    const Site& mSite;
};

/// Asks for a secret. Not Done, after a message, if there is none.
Output::ExitStatus ask(const QString& secret, const QString& whose, QString& answer)
{
    if (Terminal::isInteractive()) {
        const QString prompt = ProgressLine::printable(QStringLiteral("%1 of %2: ").arg(secret, whose));
        const auto typed = Terminal::askSecretly(prompt, &InterruptKey::wasPressed);
        answer = typed.value_or(QString());
        if (typed || InterruptKey::wasPressed()) {
            return typed ? Output::Done : Output::Interrupted;
        }
    }
    return Output::complain(
        Output::Failed, QStringLiteral("no %1; set TAVREL_%2").arg(secret.toLower(), secret.toUpper()));
}

Output::ExitStatus askForSecrets(Site& site, const Options& options)
{
    site.readSecrets();
    Output::ExitStatus status = Output::Done;
    QString answer;
    if (site.lacksPassphrase()) {
        status = ask(QStringLiteral("Passphrase"), options.value("identity"), answer);
        site.setPassphrase(answer);
    } else if (site.lacksPassword()) {
        status = ask(QStringLiteral("Password"), site.user() + QStringLiteral(" at ") + site.host(), answer);
        site.setPassword(answer);
    }
    return status;
}

/// The task for the options; null, with the reason in fault, if it cannot be started.
std::unique_ptr<Task> makeTask(const Options& options, const Site& site, QString& fault)
{
    switch (options.action()) {
    case Options::Fetch: {
        FetchFolder folder(options.folder());
        const bool isOpen = folder.open();
        fault = folder.fault();
        return isOpen
            ? std::make_unique<FetchTask>(std::move(folder), options.paths().value(0), options.has("keep-times"))
            : nullptr;
    }
    case Options::List:
        return std::make_unique<ListTask>(options.paths().value(0));
    case Options::Remove:
        return std::make_unique<RemoveTask>(options.paths());
    case Options::Chmod:
        return std::make_unique<ChmodTask>(options.mode(), options.paths());
    default:
        return std::make_unique<Doctor>(site);
    }
}

Output::ExitStatus conclude(Output& output, const Site& site, const PublishReport& report, QJsonObject summary)
{
    const bool isStopped = !report.stopReason.isEmpty() || report.failed.isEmpty();
    const QString reason = isStopped ? report.stopReason : report.failed.first().reason;
    summary["advice"] = site.howToAccept(reason);
    return output.conclude(summary);
}

Output::ExitStatus runTask(Task& task, const Site& site, const Options& options, const InterruptKey& interruptKey)
{
    Output output(options);
    Worker worker(site, task);
    QTimer refresh;
    const auto showProgress = [&] {
        if (const auto progress = task.progress()) {
            output.print(Events::progress(*progress));
        }
    };
    QObject::connect(&worker, &Worker::printed, &refresh, [&](const QJsonObject& event) { output.print(event); });
    QObject::connect(&interruptKey, &InterruptKey::pressed, &worker, [&] { worker.requestInterruption(); });
    QObject::connect(&refresh, &QTimer::timeout, &refresh, showProgress);
    // Queued, so that it comes after all lines.
    QObject::connect(&worker, &Worker::finished, &refresh, &QCoreApplication::quit);
    refresh.start(REFRESH_MS);
    worker.start();
    if (!worker.isRunning() && !worker.isFinished()) {
        return Output::complain(Output::Failed, NO_THREAD);
    }
    QCoreApplication::exec();
    showProgress();
    return conclude(output, site, worker.report().result(), worker.report().summary());
}

/// False for a malformed glob.
bool configure(FolderPublisher& publisher, const Options& options)
{
    publisher.setDryRun(options.has("dry-run"));
    publisher.setRemoveObsolete(options.has("delete"));
    publisher.setOnlyChanged(!options.has("all"));
    publisher.setCheckServer(options.has("check"));
    publisher.setStallTimeOut(options.stallTimeOut());
    publisher.setKeepModificationTime(options.has("keep-times"));
    if (options.has("connections")) {
        publisher.setConnections(options.connections());
    }
    if (options.has("temporary-names")) {
        publisher.setUploadMode(FTPCurl::TemporaryName);
    }
    return publisher.setExcluded(options.values("exclude"));
}

Output::ExitStatus publish(const Site& site, const Options& options, const InterruptKey& interruptKey)
{
    SitePublisher publisher(site);
    if (!configure(publisher, options)) {
        return Output::complain(Output::WrongUsage, QStringLiteral("--exclude needs a well-formed glob"));
    }
    Output output(options);
    QObject::connect(&publisher, &FolderPublisher::progress, &interruptKey,
        [&](const PublishProgress& progress) { output.print(Events::progress(progress)); });
    QObject::connect(&publisher, &FolderPublisher::fileFinished, &interruptKey,
        [&](const QString& path, FolderPublisher::Outcome outcome, const QString& reason) {
            output.print(Events::file(path, Events::nameOf(outcome), reason));
        });
    QObject::connect(&interruptKey, &InterruptKey::pressed, &publisher, [&] { publisher.requestInterruption(); });
    QObject::connect(&publisher, &FolderPublisher::done, &interruptKey, &QCoreApplication::quit, Qt::QueuedConnection);
    if (!publisher.publish(site, options.folder())) {
        return Output::complain(Output::Failed, NO_THREAD);
    }
    QCoreApplication::exec();
    const PublishReport report = publisher.report();
    for (const QString& remark : report.remarks) {
        output.print(Events::remark(remark));
    }
    return conclude(output, site, report, Events::summary(report));
}

Output::ExitStatus run(Site& site, const Options& options)
{
    // For the prompt, too.
    const InterruptKey interruptKey;
    QString fault = site.faultFor(options);
    if (!fault.isEmpty()) {
        return Output::complain(Output::Failed, fault);
    }
    if (!site.readAccess(options, fault)) {
        return Output::complain(Output::WrongUsage, fault);
    }
    const Output::ExitStatus status = askForSecrets(site, options);
    if (status != Output::Done) {
        return status;
    }
    if (site.ftpProtocol() == FTPSettings::FTP) {
        Output(options).print(
            Events::remark(QStringLiteral("warning: FTP has no encryption: password and files travel in plaintext")));
    }
    if (options.action() == Options::Publish) {
        return publish(site, options, interruptKey);
    }
    const std::unique_ptr<Task> task = makeTask(options, site, fault);
    return task ? runTask(*task, site, options, interruptKey) : Output::complain(Output::Failed, fault);
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    // File names are UTF-8 in every locale, as they always are with Qt 6, so that a run from cron sends the same names.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
#endif
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(TAVREL_VERSION));
    Options options;
    if (!options.read(QCoreApplication::arguments())) {
        return Output::complain(Output::WrongUsage, options.fault());
    }
    Site site;
    if (!site.load(options.value("settings"))) {
        return Output::complain(Output::Failed, QStringLiteral("%1 holds no settings").arg(options.value("settings")));
    }
    return run(site, options);
}
