#include <tavrel/FileDownloader.h>
#include <tavrel/HTTPCurl.h>
#include <tavrel/HttpQueryParameters.h>
#include <tavrel/HttpUserAgentGenerator.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/Errorable.h>

int main()
{
    const TavrelInitializer initializer;
    HTTPCurl client;
    client.setUserAgent(HttpUserAgentGenerator::generateAndroidRandomUserAgent());
    const bool refused = !client.postHttp(QString(), HttpQueryParameters());
    const auto* errorable = static_cast<Errorable*>(client.qt_metacast("Errorable"));
    const FileDownloader downloader;
    const bool isEmptyUrl = errorable && errorable->error() == ErrorableCode::of(HTTPCurl::EMPTY_URL);
    return refused && isEmptyUrl && downloader.error().isEmpty() ? 0 : 1;
}
