// HTTP transfers with Tavrel, as an application would write them. It takes the arguments of bench_plain.
//
//   bench_tavrel get-file URL PATH
//   bench_tavrel get-memory URL
//   bench_tavrel small URL COUNT COOKIE_FILE
//   bench_tavrel post URL PATH
//
// COUNT GETs over one connection, or with "new" one for each; and the memory of a form post beyond that before it, in
// sizes of the file.
//
//   bench_tavrel kept URL COUNT [new]
//   bench_tavrel post-memory URL PATH
//
// The secured protocol, or plain form posts with "unencrypted". STATE is the folder of the key, with a trailing slash.
//
//   bench_tavrel secured-post URL PATH STATE [unencrypted]
//   bench_tavrel secured-small URL COUNT STATE [unencrypted]
//   bench_tavrel secured-reply STATE     prints an encrypted reply
//
// Settings files, saved or loaded COUNT times.
//
//   bench_tavrel settings-save PATH COUNT
//   bench_tavrel settings-load PATH COUNT

#include "program.h"
#include "report.h"

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/HTTPCurl.h>
#include <tavrel/SecuredHTTPCurl.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonObject>

#include <cstdio>
#include <functional>
#include <sys/resource.h>

namespace {

constexpr double BYTES_IN_KIB = 1024;

/// Reports the time of a transfer that succeeded, or the reason for its failure.
bool finish(const HTTPCurl& client, bool success, const Moment& start)
{
    if (!success) {
        return fail(client.errorText());
    }
    reportSince(start);
    return true;
}

bool getFile(const QString& url, const QString& path)
{
    const Moment start = momentNow();
    HTTPCurl client;
    const bool success = client.getFile(url, path);
    return finish(client, success, start);
}

bool getMemory(const QString& url)
{
    const Moment start = momentNow();
    HTTPCurl client;
    QByteArray body;
    const bool success = client.getData(url, body);
    return finish(client, success, start);
}

bool getSmall(const QString& url, int count, const QString& cookieFile)
{
    HTTPCurl::setCookiepath(QFileInfo(cookieFile).path());
    if (HTTPCurl::cookieFilePath() != cookieFile) {
        return fail(QStringLiteral("the cookies are not in ") + HTTPCurl::cookieFilePath());
    }
    const Moment start = momentNow();
    HTTPCurl client;
    bool success = true;
    for (int i = 0; success && i < count; ++i) {
        QByteArray body;
        success = client.getData(url, body);
    }
    return finish(client, success, start);
}

bool getKept(const QString& url, int count, bool keeps)
{
    const Moment start = momentNow();
    HTTPCurl client;
    client.setKeepConnections(keeps);
    bool success = true;
    for (int i = 0; success && i < count; ++i) {
        QByteArray body;
        success = client.getData(url, body);
    }
    return finish(client, success, start);
}

double peakBytes()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * BYTES_IN_KIB;
}

bool printPostMemory(const QString& url, const QString& path)
{
    HTTPCurl client;
    const bool isWarm = client.postForm(url, QJsonObject());
    const double base = peakBytes();
    QFile file(path);
    if (!isWarm || !file.open(QIODevice::ReadOnly)) {
        return fail(isWarm ? file.errorString() : client.errorText());
    }
    const QByteArray content = file.readAll();
    if (!client.postForm(url, QJsonObject(), content, false)) {
        return fail(client.errorText());
    }
    std::printf("%.6f\n", (peakBytes() - base) / content.size());
    return true;
}

/// Client is HTTPCurl or SecuredHTTPCurl; setUp configures it.
template <class Client>
bool post(
    const QString& url, const QString& path, const std::function<void(Client&)>& setUp = [](Client&) {})
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(file.errorString());
    }
    const QByteArray content = file.readAll();
    const Moment start = momentNow();
    Client client;
    setUp(client);
    const bool success = client.postForm(url, QJsonObject(), content, false);
    return finish(client, success, start);
}

bool postSmall(const QString& url, int count, bool crypted)
{
    const Moment start = momentNow();
    SecuredHTTPCurl client;
    client.setCryptedMode(crypted);
    bool success = true;
    for (int i = 0; success && i < count; ++i) {
        success = client.postForm(url, { { QStringLiteral("number"), i } });
    }
    return finish(client, success, start);
}

bool printSecuredReply()
{
    const QByteArray reply = SecuredHTTPCurl().encrypt("{}");
    return std::fwrite(reply.constData(), 1, static_cast<size_t>(reply.size()), stdout) > 0;
}

bool runSecured(const QStringList& arguments)
{
    const QString subject = arguments.value(1);
    const bool crypted = arguments.value(5) != QLatin1String("unencrypted");
    SecuredHTTPCurl::setKeypath(arguments.value(subject == QLatin1String("secured-reply") ? 2 : 4));
    HTTPCurl::setCookiepath(SecuredHTTPCurl::KEYPATH);
    if (subject == QLatin1String("secured-post")) {
        return post<SecuredHTTPCurl>(arguments.value(2), arguments.value(3),
            [crypted](SecuredHTTPCurl& client) { client.setCryptedMode(crypted); });
    }
    if (subject == QLatin1String("secured-small")) {
        return postSmall(arguments.value(2), arguments.value(3).toInt(), crypted);
    }
    return printSecuredReply();
}

bool saveOrLoadSettings(const QString& path, int count, bool save)
{
    const Moment start = momentNow();
    for (int i = 0; i < count; ++i) {
        FTPSettingsSerializable settings;
        if (!(save ? settings.save(path, nullptr) : settings.load(path))) {
            return fail(path);
        }
    }
    reportSince(start);
    return true;
}

bool run(const QStringList& arguments)
{
    const QString subject = arguments.value(1);
    const QString url = arguments.value(2);
    if (subject == QLatin1String("get-file") && arguments.size() == 4) {
        return getFile(url, arguments.at(3));
    }
    if (subject == QLatin1String("get-memory") && arguments.size() == 3) {
        return getMemory(url);
    }
    if (subject == QLatin1String("small") && arguments.size() == 5) {
        return getSmall(url, arguments.at(3).toInt(), arguments.at(4));
    }
    if (subject == QLatin1String("post") && arguments.size() == 4) {
        return post<HTTPCurl>(url, arguments.at(3));
    }
    if (subject == QLatin1String("kept") && arguments.size() >= 4) {
        return getKept(url, arguments.at(3).toInt(), arguments.size() == 4);
    }
    if (subject == QLatin1String("post-memory") && arguments.size() == 4) {
        return printPostMemory(url, arguments.at(3));
    }
    if (subject.startsWith(QLatin1String("settings-"))) {
        const bool save = subject == QLatin1String("settings-save");
        return saveOrLoadSettings(arguments.value(2), arguments.value(3).toInt(), save);
    }
    if (subject.startsWith(QLatin1String("secured-"))) {
        return runSecured(arguments);
    }
    return fail(QStringLiteral("get-file URL PATH, get-memory URL, small URL COUNT COOKIE_FILE or post URL PATH"));
}

} // namespace

int main(int argc, char* argv[])
{
    return runProgram(argc, argv, run);
}
