// secured-client URL JSON: shares a key with a service and sends it an encrypted request.

#include "FormRequest.h"
#include "complain.h"

#include <tavrel/SecuredHTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

int send(FormRequest& request, bool crypted, bool handshake)
{
    SecuredHTTPCurl client;
    client.setCryptedMode(crypted);
    client.setKeepConnections(true); // one for the handshake and the request
    if (handshake && !client.handshake(request.url())) {
        return complain(Failed, QStringLiteral("handshake: ") + FormRequest::reasonOf(client));
    }
    if (!client.postForm(request.url(), request.json(), request.fileData(), request.wantsBinaryReply())) {
        return complain(Failed, QStringLiteral("request: ") + FormRequest::reasonOf(client));
    }
    if (!request.keepBinaryReply(client)) {
        return complain(Failed, request.fault());
    }
    std::printf("%s\n", client.response().constData());
    return Done;
}

} // namespace

int main(int argc, char* argv[])
{
    const TavrelInitializer initializer;
    const QCoreApplication application(argc, argv);
    FormRequest request(QStringLiteral("Sends an encrypted JSON object to a service."));
    const QString here = QStringLiteral(".");
    request.addOptions({
        { QStringLiteral("state"), QStringLiteral("Keep the key and the session in this folder."),
            QStringLiteral("folder"), here },
        { QStringLiteral("no-handshake"), QStringLiteral("Rely on the session of an earlier run.") },
        { QStringLiteral("plain"), QStringLiteral("Send and receive in plaintext.") },
    });
    if (!request.read()) {
        return complain(WrongUsage, request.fault());
    }
    const QString state = request.value(QStringLiteral("state"));
    HTTPCurl::setCookiepath(state);
    SecuredHTTPCurl::setKeypath(state + QLatin1Char('/'));
    return send(request, !request.isSet(QStringLiteral("plain")), !request.isSet(QStringLiteral("no-handshake")));
}
