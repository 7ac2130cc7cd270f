// fetch URL FILE: downloads in the background, shows the progress, stops at Ctrl+C.

#include "InterruptKey.h"
#include "ProgressLine.h"
#include "complain.h"

#include <tavrel/FileDownloader.h>
#include <tavrel/HTTPCurl.h>
#include <tavrel/PeerTrust.h>
#include <tavrel/TavrelInitializer.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <filesystem>
#include <limits>

namespace {

constexpr int REFRESH_MS = 100;

struct Options
{
    QString url;
    QString file;
    bool force = false;
    bool resume = false;
    bool verify = false;
    QString agent;
    QString cookies;
    qint64 limit = -1;
    qint64 timeOut = -1;
    qint64 stallTimeOut = 0;

    /// The target of the download: a temporary file beside an existing one, as FileDownloader replaces no file.
    QString target() const { return force ? file + QStringLiteral(".new") : file; }
    QString part() const { return target() + QStringLiteral(".part"); }
};

/// Reads a number option; false if it is given and not a positive number.
bool readNumber(const QCommandLineParser& parser, const QString& name, qint64 largest, qint64& number)
{
    if (!parser.isSet(name)) {
        return true;
    }
    bool isNumber = false;
    number = parser.value(name).toLongLong(&isNumber);
    return isNumber && number > 0 && number <= largest;
}

bool replaceFile(const QString& from, const QString& to)
{
    namespace fs = std::filesystem;
    if (QFileInfo(to).isFile() && !QFile::setPermissions(from, QFile::permissions(to))) {
        return false;
    }
    std::error_code error;
    fs::rename(fs::u8path(from.toStdString()), fs::u8path(to.toStdString()), error);
    return !error;
}

int report(const Options& options, const FileDownloader& downloader, bool success)
{
    if (!success && InterruptKey::wasPressed()) {
        return complain(Interrupted, QStringLiteral("interrupted"));
    }
    if (!success) {
        QStringList reasons { downloader.errorText(), downloader.client().errorDetail() };
        reasons.removeAll(QString());
        reasons.removeDuplicates();
        return complain(Failed, reasons.join(QStringLiteral(": ")));
    }
    // The downloader does not report whether it could rename the complete file.
    const bool isInPlace = !QFileInfo::exists(options.part()) && QFileInfo::exists(options.target())
        && (!options.force || replaceFile(options.target(), options.file));
    if (!isInPlace) {
        return complain(Failed, QStringLiteral("%1 could not be put in place").arg(options.file));
    }
    std::fprintf(stderr, "%s: %lld bytes\n", qUtf8Printable(options.file),
        static_cast<long long>(QFileInfo(options.file).size()));
    return Done;
}

int fetch(QCoreApplication& application, FileDownloader& downloader, const Options& options)
{
    ProgressLine line;
    double percent = -1.0;
    bool success = false;
    QObject::connect(&downloader, &FileDownloader::progress, &application, [&percent](double now) { percent = now; });
    QObject::connect(&downloader, &FileDownloader::done, &application, [&](bool result) {
        success = result;
        QCoreApplication::quit();
    });
    InterruptKey interruptKey;
    QObject::connect(&interruptKey, &InterruptKey::pressed, &application, [&] { downloader.requestInterruption(); });
    QTimer refresh;
    QObject::connect(
        &refresh, &QTimer::timeout, &application, [&] { line.show(percent, QFileInfo(options.part()).size()); });
    refresh.start(REFRESH_MS);

    downloader.download(options.url, options.target());
    QCoreApplication::exec();
    if (success) {
        line.show(100.0, QFileInfo(options.target()).size());
    }
    line.finish();
    return report(options, downloader, success);
}

void configure(FileDownloader& downloader, const Options& options)
{
    downloader.client().setLimitDownload(options.limit);
    downloader.client().setTimeOut(static_cast<int>(options.timeOut));
    downloader.client().setStallTimeOut(static_cast<int>(options.stallTimeOut));
    downloader.client().setUserAgent(options.agent);
    downloader.setResumable(options.resume);
    PeerTrust trust;
    if (options.verify) {
        trust.setCertificateAuthorities(PeerTrust::System);
    }
    downloader.setTrust(trust);
}

void addTo(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral("Downloads a URL to a file."));
    parser.addHelpOption();
    parser.addOptions({
        { QStringLiteral("limit"), QStringLiteral("Refuse a body announced larger."), QStringLiteral("bytes") },
        { QStringLiteral("timeout"), QStringLiteral("Give up after this time."), QStringLiteral("seconds") },
        { QStringLiteral("stall"), QStringLiteral("Give up when no byte moves for this time."),
            QStringLiteral("seconds") },
        { QStringLiteral("resume"), QStringLiteral("Continue an interrupted download.") },
        { QStringLiteral("agent"), QStringLiteral("The user agent to send."), QStringLiteral("text") },
        { QStringLiteral("cookies"), QStringLiteral("Keep cookies in this folder."), QStringLiteral("folder") },
        { QStringLiteral("verify"), QStringLiteral("Refuse a server without a certificate of a known authority.") },
        { QStringLiteral("force"), QStringLiteral("Replace FILE if it exists.") },
    });
    parser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("What to download."));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Where to put it."));
}

/// The reason for refusing the arguments; empty for none.
QString read(const QCommandLineParser& parser, Options& options)
{
    const QStringList arguments = parser.positionalArguments();
    options.url = arguments.value(0);
    options.file = arguments.value(1);
    if (arguments.size() != 2 || options.url.isEmpty() || options.file.isEmpty()) {
        return QStringLiteral("needs a URL and a FILE; see --help");
    }
    if (!readNumber(parser, QStringLiteral("limit"), std::numeric_limits<qint64>::max(), options.limit)
        || !readNumber(parser, QStringLiteral("timeout"), std::numeric_limits<int>::max(), options.timeOut)
        || !readNumber(parser, QStringLiteral("stall"), std::numeric_limits<int>::max(), options.stallTimeOut)) {
        return QStringLiteral("a limit, a timeout and a stall are positive numbers");
    }
    options.force = parser.isSet(QStringLiteral("force"));
    options.resume = parser.isSet(QStringLiteral("resume"));
    options.verify = parser.isSet(QStringLiteral("verify"));
    options.agent = parser.value(QStringLiteral("agent"));
    options.cookies = parser.value(QStringLiteral("cookies"));
    return QString();
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    addTo(parser);
    parser.process(application);
    Options options;
    const QString fault = read(parser, options);
    if (!fault.isEmpty()) {
        return complain(WrongUsage, fault);
    }
    if (QFileInfo::exists(options.file) && !options.force) {
        return complain(Failed, QStringLiteral("%1 exists; --force replaces it").arg(options.file));
    }
    if (options.force) {
        QFile::remove(options.target()); // from a run that was killed
    }

    const QTemporaryDir forgottenCookies;
    HTTPCurl::setCookiepath(options.cookies.isEmpty() ? forgottenCookies.path() : options.cookies);
    FileDownloader downloader;
    configure(downloader, options);
    return fetch(application, downloader, options);
}
