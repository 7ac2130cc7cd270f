// post URL JSON: sends a JSON object, and a file if one is named, as a form and prints the reply.

#include "FormRequest.h"
#include "ProgressLine.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>

namespace {

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

int complain(ExitStatus status, const QString& text)
{
    std::fprintf(stderr, "post: %s\n", qUtf8Printable(text));
    return status;
}

int post(FormRequest& request)
{
    HTTPCurl client;
    ProgressLine line;
    const auto size = static_cast<double>(request.fileData().size());
    QObject::connect(&client, &HTTPCurl::progressUpload, &client,
        [&](double percent) { line.show(percent, static_cast<qint64>(percent / 100.0 * size)); });
    const bool success = client.postForm(request.url(), request.json(), request.fileData(), request.wantsBinaryReply());
    line.finish();
    if (!success) {
        return complain(Failed, FormRequest::reasonOf(client));
    }
    if (!request.keepBinaryReply(client)) {
        return complain(Failed, request.fault());
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
    FormRequest::addTo(parser);
    parser.addOption(
        { QStringLiteral("cookies"), QStringLiteral("Keep cookies in this folder."), QStringLiteral("folder") });
    parser.process(application);

    FormRequest request;
    if (!request.read(parser)) {
        return complain(WrongUsage, request.fault());
    }
    const QTemporaryDir forgottenCookies;
    const QString cookies = parser.value(QStringLiteral("cookies"));
    HTTPCurl::setCookiepath(cookies.isEmpty() ? forgottenCookies.path() : cookies);
    return post(request);
}
