#include "Doctor.h"

#include "Events.h"
#include "RemoteTree.h"
#include "Report.h"

#include <tavrel/FTPCurl.h>

#include <QRandomGenerator>

#include <algorithm>

namespace {

/// A server of another protocol may wait for the client without end.
constexpr int STALL_SECONDS = 10;
constexpr int HEX = 16;
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
    mReport = &report;
    mFolder = RemoteTree::pathOf(client, QString());
    QObject::connect(&client, &FTPCurl::infoServer, &client, [this](const QString& line) { mLines << line; });
    client.setStallTimeOut(STALL_SECONDS);
    client.setVerifyUploads(true);
    connect() && tryDataConnection() && tryFolder() && tryFile();
    report.goesOn(client);
}

bool Doctor::works(const char* name, const QString& detail)
{
    mReport->print(Events::step(QString::fromLatin1(name), true, detail.simplified(), QString()));
    return true;
}

bool Doctor::fails(const char* name, const QString& advice, const QString& detail)
{
    if (mReport->goesOn(*mClient)) {
        const QString reason = detail.isEmpty() ? Report::reasonOf(*mClient) : detail;
        mReport->countFailure(QString::fromLatin1(name), reason);
        mReport->print(Events::step(QString::fromLatin1(name), false, reason, advice));
    }
    return false;
}

/// A single request, as a server may take many connections for an attack. How far it came shows in its result.
bool Doctor::connect()
{
    const bool isAnswered = mClient->resourceExists(mFolder, mFolderExists);
    for (const Stage stage : stages()) {
        if (!isAnswered && !isReached(stage)) {
            return fails(nameOf(stage), adviceFor(stage));
        }
        works(nameOf(stage), detailOf(stage));
    }
    return true;
}

QVector<Doctor::Stage> Doctor::stages() const
{
    switch (mSite.ftpProtocol()) {
    case FTPSettings::FTP:
        return { HostName, Connection, Greeting, Login };
    case FTPSettings::FTPS_IMPLICIT:
        return { HostName, Connection, Encryption, Greeting, Login };
    default:
        return { HostName, Connection, Greeting, Encryption, Login };
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
        return isSsh ? isRefused || !mClient->peerFingerprint().isEmpty()
                     : mLines.value(0).startsWith(QLatin1String("220"));
    case Encryption:
        return !isRefused && (isSsh || isMeasured(*mClient, CURLINFO_APPCONNECT_TIME));
    default:
        return std::any_of(
            mLines.begin(), mLines.end(), [](const QString& line) { return line.startsWith(QLatin1String("230")); });
    }
}

const char* Doctor::nameOf(Stage stage) const
{
    static const char* const names[] = { "host name", "connection", "greeting", "TLS", "login" };
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
        return mLines.value(0);
    case Encryption:
        return mClient->peerFingerprint();
    default:
        return mSite.user();
    }
}

QString Doctor::adviceFor(Stage stage) const
{
    switch (stage) {
    case HostName:
        return QStringLiteral("Correct the host in the settings.");
    case Connection:
        return QStringLiteral("Correct host or port: usually 21 for FTP and explicit FTPS, 990 for implicit FTPS, 22 "
                              "for SFTP. Otherwise the server or a firewall refuses.");
    case Greeting:
        return adviceForGreeting();
    case Encryption:
        return adviceForEncryption();
    default:
        break;
    }
    const QString reply = mClient->serverReply();
    const bool requiresTls = reply.contains(QLatin1String("TLS")) || reply.contains(QLatin1String("SSL"));
    return mSite.ftpProtocol() == FTPSettings::FTP && requiresTls
        ? QStringLiteral("Set the protocol to explicit FTPS.")
        : QStringLiteral("Correct user and password, in the settings or in TAVREL_PASSWORD.");
}

QString Doctor::adviceForGreeting() const
{
    if (mLines.value(0).startsWith(QLatin1String("SSH-"))) {
        return QStringLiteral("This is an SSH server: set the protocol to SFTP.");
    }
    if (mSite.ftpProtocol() == FTPSettings::SFTP) {
        return QStringLiteral("No SSH server answers: set the port of SFTP, usually 22, or another protocol.");
    }
    return QStringLiteral("The port may be one for another protocol: try implicit FTPS (990) or SFTP (22).");
}

QString Doctor::adviceForEncryption() const
{
    QString acceptance = mSite.howToAccept(Report::reasonOf(*mClient));
    if (!acceptance.isEmpty() || !mSite.isTls()) {
        return acceptance;
    }
    const bool isImplicit = mSite.ftpProtocol() == FTPSettings::FTPS_IMPLICIT;
    return QStringLiteral("The port may be one for another protocol: try ")
        + (isImplicit ? QStringLiteral("explicit FTPS (21).") : QStringLiteral("implicit FTPS (990), or FTP."));
}

bool Doctor::tryDataConnection()
{
    if (mSite.ftpProtocol() == FTPSettings::SFTP) {
        return true;
    }
    QVector<RemoteEntry> entries;
    const bool isListed = mClient->listDetailed(mFolderExists ? mFolder : QStringLiteral("/"), entries);
    if (isListed || mClient->error() == ErrorableCode::of(FTPCurl::UNKNOWN_LISTING)) {
        return works("data connection", QString::fromLatin1(mSite.passiveMode() ? "passive mode" : "active mode"));
    }
    return fails("data connection",
        mSite.passiveMode() ? QStringLiteral("Open the server's passive ports in the firewalls, or try active mode.")
                            : QStringLiteral("Switch passive mode on: the server cannot connect to this machine."));
}

bool Doctor::tryFolder()
{
    const QString shown = mClient->canonicalizedRelativeFilePath(mFolder);
    if (mFolderExists) {
        return works("folder", shown);
    }
    QVector<RemoteEntry> entries;
    mClient->listDetailed(QStringLiteral("/"), entries);
    QStringList names;
    for (const RemoteEntry& entry : entries) {
        if (entry.kind == RemoteEntry::Directory && names.size() < MAX_NAMES) {
            names << entry.name + QLatin1Char('/');
        }
    }
    return fails("folder",
        QStringLiteral("Correct the folder in the settings, or let the first publication create it. Found here: ")
            + names.join(QLatin1Char(' ')),
        QStringLiteral("%1 does not exist").arg(shown));
}

bool Doctor::tryFile()
{
    const QString name
        = QStringLiteral(".tavrel-doctor-") + QString::number(QRandomGenerator::system()->generate64(), HEX);
    const QString renamed = name + QStringLiteral("-renamed");
    if (!mClient->putData(QByteArrayLiteral("tavrel-publish --doctor\n"), name, false)) {
        fails("write",
            QStringLiteral("The account may not write there, or has no space: correct the folder in the settings, or "
                           "permissions and quota on the server."));
        // A part of it may have arrived.
        mClient->removeSimpleResource(mClient->canonicalizedFilePath(name), false);
        return false;
    }
    works("write");
    const bool isRenamed = mClient->rename(name, renamed);
    if (isRenamed) {
        works("rename");
    } else {
        fails("rename", QStringLiteral("Publish without --temporary-names."));
    }
    return remove(isRenamed ? renamed : name);
}

bool Doctor::remove(const QString& name)
{
    if (mClient->removeSimpleResource(mClient->canonicalizedFilePath(name), false)) {
        return works("remove");
    }
    mReport->remark(QStringLiteral("%1 may be left on the server").arg(name));
    return fails("remove", QStringLiteral("Publish without --delete."));
}
