// post URL JSON: sends a JSON object, and a file if one is named, as a form and prints the reply.

#include "FormRequest.h"
#include "ProgressLine.h"
#include "complain.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>

namespace {

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
    FormRequest request(QStringLiteral("Posts a JSON object as a form and prints the reply."));
    request.addOptions(
        { { QStringLiteral("cookies"), QStringLiteral("Keep cookies in this folder."), QStringLiteral("folder") } });
    if (!request.read()) {
        return complain(WrongUsage, request.fault());
    }
    const QTemporaryDir forgottenCookies;
    const QString cookies = request.value(QStringLiteral("cookies"));
    HTTPCurl::setCookiepath(cookies.isEmpty() ? forgottenCookies.path() : cookies);
    return post(request);
}
