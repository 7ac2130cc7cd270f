// post URL JSON: sends a JSON object, and a file if one is named, as a form and prints the reply.

#include "ProgressLine.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>

namespace {

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

int complain(ExitStatus status, const QString& text)
{
    std::fprintf(stderr, "post: %s\n", qUtf8Printable(text));
    return status;
}

QString reasonOf(const HTTPCurl& client)
{
    const QString message = client.errorMessage().isEmpty() ? client.error().name() : client.errorMessage();
    return QStringLiteral("%1 (status %2)").arg(message, QString::number(client.HTTPResponseCode()));
}

int post(HTTPCurl& client, const QCommandLineParser& parser, const QJsonObject& json, const QByteArray& fileData)
{
    ProgressLine line;
    const qint64 size = fileData.size();
    QObject::connect(&client, &HTTPCurl::progressUpload, &client,
        [&](double percent) { line.show(percent, static_cast<qint64>(percent / 100.0 * static_cast<double>(size))); });
    const QString binaryPath = parser.value(QStringLiteral("binary"));
    const bool success = client.postForm(parser.positionalArguments().at(0), json, fileData, !binaryPath.isEmpty());
    line.finish();
    if (!success) {
        return complain(Failed, reasonOf(client));
    }
    QString writeError;
    if (!binaryPath.isEmpty() && !FileUtils::writeFileContent(binaryPath, client.binaryResponse(), &writeError)) {
        return complain(Failed, QStringLiteral("%1: %2").arg(binaryPath, writeError));
    }
    std::fwrite(client.response().constData(), 1, static_cast<size_t>(client.response().size()), stdout);
    return Done;
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Posts a JSON object as a form and prints the reply."));
    parser.addHelpOption();
    parser.addOptions({
        { QStringLiteral("file"), QStringLiteral("Attach this file."), QStringLiteral("path") },
        { QStringLiteral("binary"), QStringLiteral("Ask for a binary reply and write it here."),
            QStringLiteral("path") },
        { QStringLiteral("cookies"), QStringLiteral("Keep cookies in this folder."), QStringLiteral("folder") },
    });
    parser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("Where to send it."));
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
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            return complain(Failed, QStringLiteral("%1: %2").arg(path, file.errorString()));
        }
        fileData = file.readAll();
        json.insert(QStringLiteral("#file_name#"), QFileInfo(path).fileName());
    }

    const QTemporaryDir forgottenCookies;
    const QString cookies = parser.value(QStringLiteral("cookies"));
    HTTPCurl::setCookiepath(cookies.isEmpty() ? forgottenCookies.path() : cookies);

    HTTPCurl client;
    return post(client, parser, json, fileData);
}
