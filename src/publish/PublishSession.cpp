#include "PublishSession.h"

#include "ServerFolders.h"

#include <QThread>

namespace {

/// The end of a run waits for sessions that turn out not to be needed.
constexpr int CONNECT_SECONDS = 10;
constexpr int FIRST_PAUSE_MS = 250;
constexpr int INTERRUPTION_CHECK_MS = 20;

} // namespace

bool PublishSession::open(const FTPSettings& settings, const PublishOptions& options, const Prepare& prepare)
{
    mClient.setUploadMode(options.uploadMode);
    mClient.setStallTimeOut(options.stallTimeOut);
    const bool isOpen = mClient.setTrust(options.trust) && prepare(mClient) && mClient.initHost(settings);
    if (isOpen) {
        setEntersDirectories(false);
    }
    return isOpen;
}

FTPFailure::Kind PublishSession::request(const std::function<bool()>& request)
{
    FTPFailure::Kind kind = FTPFailure::None;
    if (!request()) {
        kind = FTPFailure::kindOf(mClient);
        kind = kind == FTPFailure::None ? FTPFailure::OfPath : kind; // some refusals leave no error
    }
    mIsConnected = kind == FTPFailure::None || kind == FTPFailure::OfPath || kind == FTPFailure::OfStorage;
    return kind;
}

void PublishSession::setEntersDirectories(bool enters)
{
    ServerFolders::setEntersDirectories(mClient, enters);
}

void PublishSession::connect()
{
    bool exists = false;
    // The cheapest question: over FTP it takes no command, over SFTP one round trip or two.
    const bool isSftp = mClient.ftpSettings().ftpProtocol() == FTPSettings::SFTP;
    const QString path = isSftp ? QString::fromLatin1(SiteRecord::FILE_NAME) : QStringLiteral("/");
    connectBy([&] { return mClient.resourceExists(path, exists); });
}

void PublishSession::connect(RecordDownload& record)
{
    connectBy([&] { return fetch(record); });
}

void PublishSession::connectBy(const std::function<bool()>& request)
{
    const int stallTimeOut = mClient.stallTimeOut();
    mClient.setStallTimeOut(stallTimeOut > 0 ? qMin(stallTimeOut, CONNECT_SECONDS) : CONNECT_SECONDS);
    this->request(request);
    mClient.setStallTimeOut(stallTimeOut);
}

bool PublishSession::fetch(RecordDownload& record)
{
    setEntersDirectories(true); // a site that does not exist yet shows at once
    const bool isFetched = record.fetch(mClient);
    setEntersDirectories(false);
    return isFetched;
}

FTPFailure::Kind PublishSession::requestPatiently(const std::function<bool()>& request)
{
    FTPFailure::Kind kind = this->request(request);
    const auto mayPass = [this, &kind] {
        const bool isRefusedForNow = kind == FTPFailure::OfPath && mClient.serverReply().startsWith(QLatin1Char('4'));
        return isRefusedForNow || kind == FTPFailure::OfConnection;
    };
    for (int failures = 1; failures <= MAX_FAILURES && mayPass(); ++failures) {
        pause(failures);
        kind = this->request(request);
    }
    return kind;
}

void PublishSession::pause(int failures) const
{
    const int time = FIRST_PAUSE_MS << (failures - 1);
    for (int waited = 0; waited < time && !mClient.isInterruptionRequested(); waited += INTERRUPTION_CHECK_MS) {
        QThread::msleep(INTERRUPTION_CHECK_MS);
    }
}
