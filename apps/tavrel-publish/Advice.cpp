#include "Advice.h"

#include "Site.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPFailure.h>

#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <initializer_list>

namespace {

const QString ASK = QStringLiteral("Ask the operator of the server what this means.");
const QString WAIT = QStringLiteral("The server has too many connections: try again later.");
const QString MISCONFIGURED = QStringLiteral(
    "The server is configured wrongly: its operator has to repair that. User and password play no part.");

bool contains(const QString& text, const char* pattern)
{
    return QRegularExpression(QLatin1String(pattern), QRegularExpression::CaseInsensitiveOption).match(text).hasMatch();
}

bool hasCode(const FTPCurl& client, std::initializer_list<int> codes)
{
    return std::any_of(codes.begin(), codes.end(),
        [&](int code) { return client.error() == ErrorableCode::of(static_cast<CURLcode>(code)); });
}

bool requiresTls(const QString& reply)
{
    return contains(reply, "\\b(TLS|SSL)\\b|encrypt");
}

/// Of a connection that speaks before the client does; empty for one that does not.
QString protocolOf(const Site& site, const QString& firstWords)
{
    if (firstWords.startsWith(QLatin1String("SSH-"))) {
        return QStringLiteral("An SSH server answers at this port: set the protocol to SFTP.");
    }
    if (firstWords.startsWith(QLatin1String("220"))) {
        return site.ftpProtocol() == FTPSettings::SFTP
            ? QStringLiteral("An FTP server answers at this port: set the port of SFTP, usually 22.")
            : QStringLiteral("An FTP server answers at this port: set the protocol to explicit FTPS.");
    }
    return QString();
}

QString forServerThatIsBusy(const QString& text)
{
    if (contains(text, "^Not allowed at this time")) {
        return QStringLiteral(
            "The server refuses this machine for a while after failed logins: wait some minutes, then "
            "try again with the right user and password.");
    }
    if (text.startsWith(QLatin1String("500 OOPS"))) {
        return MISCONFIGURED;
    }
    return Advice::isBusy(text) ? WAIT : QString();
}

} // namespace

bool Advice::isBusy(const QString& text)
{
    return contains(text, "too many|maximum|^Exceeded MaxStartups");
}

QString Advice::forConnection(const FTPCurl& client)
{
    long systemError = 0;
    curl_easy_getinfo(client.curlhandle(), CURLINFO_OS_ERRNO, &systemError);
    if (systemError == ECONNREFUSED) {
        return QStringLiteral(
            "Correct host or port: usually 21 for FTP and explicit FTPS, 990 for implicit FTPS, 22 for "
            "SFTP. No server accepts connections there.");
    }
    return QStringLiteral("Correct host or port; else the network or a firewall is in the way.");
}

QString Advice::forGreeting(const Site& site, const QString& firstWords)
{
    const bool isSsh = site.ftpProtocol() == FTPSettings::SFTP;
    const QString busy = forServerThatIsBusy(firstWords);
    const QString other
        = firstWords.startsWith(QLatin1String("SSH-")) == isSsh ? QString() : protocolOf(site, firstWords);
    if (!busy.isEmpty() || !other.isEmpty()) {
        return busy.isEmpty() ? other : busy;
    }
    if (!firstWords.isEmpty()) {
        return ASK;
    }
    return isSsh ? QStringLiteral("No SSH server answers: set the port of SFTP, usually 22, or another protocol.")
                 : QStringLiteral("No FTP server greets at this port: it may be one of implicit FTPS, usually 990.");
}

QString Advice::forEncryption(const FTPCurl& client, const Site& site, const QString& firstWords)
{
    if (hasCode(client, { CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_PINNEDPUBKEYNOTMATCH })) {
        return site.howToAcceptKey(client.peerFingerprint());
    }
    if (hasCode(client, { CURLE_SSL_CACERT_BADFILE })) {
        return QStringLiteral("Correct the file of --ca.");
    }
    if (hasCode(client, { CURLE_USE_SSL_FAILED })) {
        return QStringLiteral("The server offers no TLS at this port: try implicit FTPS (990) or SFTP (22).");
    }
    const QString other = site.ftpProtocol() == FTPSettings::FTPS_IMPLICIT ? protocolOf(site, firstWords) : QString();
    return other.isEmpty() ? QStringLiteral("Ask the operator of the server which TLS it speaks at this port.") : other;
}

QString Advice::forLogin(const FTPCurl& client, const Site& site)
{
    const QString reply = client.serverReply();
    QString busy = forServerThatIsBusy(reply);
    if (!busy.isEmpty()) {
        return busy;
    }
    if (site.ftpProtocol() == FTPSettings::FTP && requiresTls(reply)) {
        return QStringLiteral("Set the protocol to explicit FTPS.");
    }
    const bool isOfAccount = site.ftpProtocol() == FTPSettings::SFTP
        ? hasCode(client, { CURLE_LOGIN_DENIED })
        : reply.startsWith(QLatin1String("530")) && !requiresTls(reply);
    return isOfAccount ? QStringLiteral("Correct user and password, in the settings or in TAVREL_PASSWORD.") : ASK;
}

QString Advice::forDataConnection(const FTPCurl& client)
{
    const QString reply = client.serverReply();
    const bool isPassive = client.ftpSettings().passiveMode();
    const bool isEncrypted = client.ftpSettings().ftpProtocol() != FTPSettings::FTP;
    if (hasCode(client, { CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_PINNEDPUBKEYNOTMATCH })) {
        return QStringLiteral("The data connection shows another key than the control connection: ask the operator of "
                              "the server.");
    }
    const bool isTlsRefused = contains(reply, "^(522|5..|4..).*\\b(TLS|SSL)\\b|session reuse|^425.*not permitted");
    if (isEncrypted && (isTlsRefused || hasCode(client, { CURLE_SSL_CONNECT_ERROR, CURLE_USE_SSL_FAILED }))) {
        return QStringLiteral("TLS fails on data connections, no firewall does: ask the operator of the server not to "
                              "require that TLS sessions are reused.");
    }
    if (requiresTls(reply)) {
        return QStringLiteral("Set the protocol to explicit FTPS.");
    }
    if (!isPassive) {
        return QStringLiteral("Switch passive mode on: the server cannot connect to this machine.");
    }
    if (hasCode(client, { CURLE_FTP_WEIRD_PASV_REPLY }) && reply.startsWith(QLatin1Char('5'))) {
        return QStringLiteral("The server refuses passive mode: switch it off.");
    }
    const bool isBlocked = hasCode(client,
        { CURLE_COULDNT_CONNECT, CURLE_OPERATION_TIMEDOUT, CURLE_FTP_CANT_GET_HOST, CURLE_FTP_WEIRD_227_FORMAT });
    return isBlocked || reply.startsWith(QLatin1String("425"))
        ? QStringLiteral("Open the server's passive ports in the firewalls, or try active mode.")
        : ASK;
}

QString Advice::forWriting(const FTPCurl& client)
{
    if (FTPFailure::kindOf(client) == FTPFailure::OfStorage) {
        return QStringLiteral("The server has no space left for the account: ask its operator for more.");
    }
    const QString reply = client.serverReply();
    const bool isRefused = reply.startsWith(QLatin1String("55")) && !requiresTls(reply);
    if (isRefused || hasCode(client, { CURLE_REMOTE_ACCESS_DENIED })) {
        return QStringLiteral(
            "The account may not write there: correct the folder in the settings, or its permissions on "
            "the server.");
    }
    return client.ftpSettings().ftpProtocol() == FTPSettings::SFTP ? ASK : forDataConnection(client);
}
