// secured-client URL JSON: shares a key with a service and sends it a request that only it can read.

#include <tavrel/SecuredHTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace {

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

int complain(ExitStatus status, const QString& text)
{
    std::fprintf(stderr, "secured-client: %s\n", qUtf8Printable(text));
    return status;
}

int complain(const HTTPCurl& client, const QString& during)
{
    const QString reason = client.errorMessage().isEmpty() ? client.error().name() : client.errorMessage();
    return complain(Failed, QStringLiteral("%1: %2").arg(during, reason));
}

bool readFile(const QString& path, QByteArray& content, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    content = file.readAll();
    return true;
}

int send(const QCommandLineParser& parser, const QString& url, const QJsonObject& json, const QByteArray& fileData)
{
    SecuredHTTPCurl client;
    client.setCryptedMode(!parser.isSet(QStringLiteral("plain")));
    if (!parser.isSet(QStringLiteral("no-handshake")) && !client.handshake(url)) {
        return complain(client, QStringLiteral("handshake"));
    }
    const QString binaryPath = parser.value(QStringLiteral("binary"));
    if (!client.postForm(url, json, fileData, !binaryPath.isEmpty())) {
        return complain(client, QStringLiteral("request"));
    }
    QString error;
    if (!binaryPath.isEmpty() && !FileUtils::writeFileContent(binaryPath, client.binaryResponse(), &error)) {
        return complain(Failed, QStringLiteral("%1: %2").arg(binaryPath, error));
    }
    std::printf("%s\n", client.response().constData());
    return Done;
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Sends an enciphered JSON object to a service."));
    parser.addHelpOption();
    parser.addOptions({
        { QStringLiteral("file"), QStringLiteral("Attach this file."), QStringLiteral("path") },
        { QStringLiteral("binary"), QStringLiteral("Ask for a binary reply and write it here."),
            QStringLiteral("path") },
        { QStringLiteral("state"), QStringLiteral("Keep the key and the session in this folder."),
            QStringLiteral("folder"), QStringLiteral(".") },
        { QStringLiteral("no-handshake"), QStringLiteral("Rely on the session of an earlier run.") },
        { QStringLiteral("plain"), QStringLiteral("Send and receive in clear.") },
    });
    parser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("The service."));
    parser.addPositionalArgument(QStringLiteral("JSON"), QStringLiteral("A JSON object."));
    parser.process(application);

    const QStringList arguments = parser.positionalArguments();
    const QJsonDocument document = QJsonDocument::fromJson(arguments.value(1).toUtf8());
    if (arguments.size() != 2 || !document.isObject()) {
        return complain(WrongUsage, QStringLiteral("needs a URL and a JSON object; see --help"));
    }
    QJsonObject json = document.object();
    QByteArray fileData;
    const QString path = parser.value(QStringLiteral("file"));
    if (!path.isEmpty()) {
        QString error;
        if (!readFile(path, fileData, error)) {
            return complain(Failed, error);
        }
        json.insert(QStringLiteral("#file_name#"), QFileInfo(path).fileName());
    }
    const QString state = parser.value(QStringLiteral("state"));
    HTTPCurl::setCookiepath(state);
    SecuredHTTPCurl::setKeypath(state + QLatin1Char('/'));
    return send(parser, arguments.at(0), json, fileData);
}
