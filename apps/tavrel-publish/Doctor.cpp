#include "Doctor.h"

#include "Advice.h"
#include "FirstWords.h"
#include "HttpProxy.h"
#include "ProbeFile.h"
#include "RemoteTree.h"
#include "Report.h"
#include "Steps.h"

#include <tavrel/FTPCurl.h>

#include <algorithm>

namespace {

/// A server of another protocol may wait for the client without end.
constexpr int STALL_SECONDS = 10;
constexpr int MAX_NAMES = 8;

bool hasCode(const FTPCurl& client, std::initializer_list<CURLcode> codes)
{
    return std::any_of(
        codes.begin(), codes.end(), [&](CURLcode code) { return client.error() == ErrorableCode::of(code); });
}

bool isMeasured(const FTPCurl& client, CURLINFO info)
{
    double seconds = 0.0;
    curl_easy_getinfo(client.curlhandle(), info, &seconds);
    return seconds > 0.0;
}

} // namespace

Doctor::Doctor(const Site& site)
    : mSite(site)
{
}

void Doctor::run(FTPCurl& client, Report& report)
{
    mClient = &client;
    Steps steps(client, report);
    mSteps = &steps;
    mFolder = RemoteTree::pathOf(client, QString());
    QObject::connect(&client, &FTPCurl::infoServer, &client, [this](const QString& line) { mLines << line; });
    client.setStallTimeOut(STALL_SECONDS);
    client.setVerifyUploads(true);
    if (connect() && tryListing() && tryFolder()) {
        ProbeFile(client, steps).run();
    }
    report.goesOn(client); // notes an interruption
}

/// A single request, as a server may take many connections for an attack. How far it came shows in its result.
bool Doctor::connect()
{
    const bool isSsh = mSite.ftpProtocol() == FTPSettings::SFTP;
    // An HTTP proxy answers for an FTP server.
    const bool isAnswered = mClient->resourceExists(mFolder, mFolderExists) && (isSsh || isGreeted());
    for (const Stage stage : stages()) {
        if (!isAnswered && !isReached(stage)) {
            return mSteps->fails(nameOf(stage), adviceFor(stage), reasonFor(stage));
        }
        mSteps->works(nameOf(stage), detailOf(stage));
    }
    return isAnswered || mSteps->fails("folder", QStringLiteral("Ask the operator of the server what this means."));
}

QVector<Doctor::Stage> Doctor::stages() const
{
    switch (mSite.ftpProtocol()) {
    case FTPSettings::FTP:
        return { HostName, Connection, Greeting, Login };
    case FTPSettings::FTPS_IMPLICIT:
        return { HostName, Connection, Encryption, Greeting, Login };
    case FTPSettings::FTPS_EXPLICIT:
        return { HostName, Connection, Greeting, Encryption, Login };
    default:
        return { HostName, Connection, Greeting, Encryption, Login, Service };
    }
}

/// For a request that failed.
bool Doctor::isReached(Stage stage) const
{
    const bool isSsh = mSite.ftpProtocol() == FTPSettings::SFTP;
    const bool isRefused = hasCode(*mClient,
        { CURLE_SSL_CONNECT_ERROR, CURLE_PEER_FAILED_VERIFICATION, CURLE_USE_SSL_FAILED, CURLE_SSL_CIPHER,
            CURLE_SSL_PINNEDPUBKEYNOTMATCH, CURLE_SSL_CACERT_BADFILE });
    switch (stage) {
    case HostName:
        return !hasCode(*mClient, { CURLE_COULDNT_RESOLVE_HOST, CURLE_COULDNT_RESOLVE_PROXY });
    case Connection:
        return isRefused || isMeasured(*mClient, CURLINFO_CONNECT_TIME);
    case Greeting:
        return isSsh ? isRefused || !mClient->peerFingerprint().isEmpty() : isGreeted();
    case Encryption:
        return !isRefused && (isSsh || isMeasured(*mClient, CURLINFO_APPCONNECT_TIME));
    case Service:
        return !isWithoutService();
    default:
        return isSsh ? isWithoutService() : std::any_of(mLines.begin(), mLines.end(), [](const QString& line) {
            return line.startsWith(QLatin1String("230"));
        });
    }
}

/// The texts are libcurl's own.
bool Doctor::isWithoutService() const
{
    return mClient->errorDetail().startsWith(QLatin1String("Failure initializing sftp session"));
}

const char* Doctor::nameOf(Stage stage) const
{
    static const char* const names[] = { "host name", "connection", "greeting", "TLS", "login", "SFTP" };
    return stage == Encryption && !mSite.isTls() ? "host key" : names[stage];
}

QString Doctor::detailOf(Stage stage) const
{
    char* address = nullptr;
    curl_easy_getinfo(mClient->curlhandle(), CURLINFO_PRIMARY_IP, &address);
    switch (stage) {
    case HostName:
        return QString::fromLatin1(address);
    case Connection:
        return QStringLiteral("port %1").arg(mSite.port());
    case Greeting:
        return mLines.isEmpty() ? QString() : Steps::quoted(mLines.first());
    case Encryption:
        return mClient->peerFingerprint();
    case Service:
        return QString();
    default:
        return mSite.user();
    }
}

/// Empty where the last request tells it.
QString Doctor::reasonFor(Stage stage)
{
    const QString words = stage == Greeting && mClient->serverReply().isEmpty() ? firstWords() : QString();
    const bool isOfSsh = words.startsWith(QLatin1String("SSH-")) && mSite.ftpProtocol() == FTPSettings::SFTP;
    return words.isEmpty() || isOfSsh ? QString() : QStringLiteral("the server says ") + Steps::quoted(words);
}

QString Doctor::adviceFor(Stage stage)
{
    const QString proxy = stage < Login ? proxyInTheWay() : QString();
    if (!proxy.isEmpty()) {
        return QStringLiteral(
            "The HTTP proxy %1 of the system or the environment is in the way: name the host in no_proxy.")
            .arg(proxy);
    }
    switch (stage) {
    case HostName:
        return QStringLiteral("Correct the host in the settings.");
    case Connection:
        return Advice::forConnection(*mClient);
    case Greeting:
        return Advice::forGreeting(mSite, firstWords());
    case Encryption:
        return Advice::forEncryption(*mClient, mSite, firstWords());
    case Service:
        return QStringLiteral(
            "The login works, and the server has no SFTP for it: ask its operator to switch that on.");
    default:
        return Advice::forLogin(*mClient, mSite);
    }
}

/// Empty if the server itself has answered.
QString Doctor::proxyInTheWay() const
{
    const bool isServer = isGreeted() || !mClient->peerFingerprint().isEmpty();
    return isServer ? QString() : HttpProxy::nameFor(mClient->generateUrl(QString()));
}

bool Doctor::isGreeted() const
{
    return mLines.value(0).startsWith(QLatin1String("220"));
}

/// libcurl hands on the lines of FTP only, and no line of a server that closes the connection instead of greeting.
QString Doctor::firstWords()
{
    if (mLines.isEmpty()) {
        const bool isAccepted = !mClient->peerFingerprint().isEmpty();
        mLines << (isAccepted ? QString()
                              : FirstWords::of(mSite.host(), mSite.port(), [this] { return !mSteps->goesOn(); }));
    }
    return mLines.first();
}

bool Doctor::tryListing()
{
    if (mSite.ftpProtocol() == FTPSettings::SFTP) {
        return true;
    }
    QVector<RemoteEntry> entries;
    const bool isListed = mClient->listDetailed(mFolderExists ? mFolder : QStringLiteral("/"), entries);
    if (isListed || mClient->error() == ErrorableCode::of(FTPCurl::UNKNOWN_LISTING)) {
        return mSteps->works(
            "data connection", QString::fromLatin1(mSite.passiveMode() ? "passive mode" : "active mode"));
    }
    const QString reply = mClient->serverReply();
    if (hasCode(*mClient, { CURLE_FTP_COULDNT_RETR_FILE }) && reply.startsWith(QLatin1String("55"))) {
        mSteps->fails("listing",
            QStringLiteral("Ask the operator of the server to allow listings: --check, --list and --fetch need them."));
        return true; // The data connection is tried by the file.
    }
    return mSteps->fails("data connection", Advice::forDataConnection(*mClient));
}

bool Doctor::tryFolder()
{
    const QString shown = mClient->canonicalizedRelativeFilePath(mFolder);
    if (mFolderExists) {
        return mSteps->works("folder", shown);
    }
    QVector<RemoteEntry> entries;
    mClient->listDetailed(QStringLiteral("/"), entries);
    QStringList names;
    for (const RemoteEntry& entry : entries) {
        if (entry.kind == RemoteEntry::Directory && names.size() < MAX_NAMES) {
            names << Steps::quoted(entry.name);
        }
    }
    const QString found = names.isEmpty() ? QString() : QStringLiteral(" Found there: ") + names.join(QLatin1Char(' '));
    return mSteps->fails("folder",
        QStringLiteral("Correct the folder in the settings, or let the first publication create it.") + found,
        QStringLiteral("%1 does not exist").arg(shown));
}
