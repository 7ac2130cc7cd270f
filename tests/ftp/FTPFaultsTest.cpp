#include "Session.h"
#include "TestProgram.h"

#include <QNetworkProxyFactory>

#include <thread>

static const QByteArray MEBIBYTE(1 << 20, 'x');
static const Operation uploads = [](FTPCurl& ftp) { return ftp.putData(MEBIBYTE, "dir/a", false); };
static const Operation downloads = [](FTPCurl& ftp) { return ftp.getData("dir/a", *std::make_unique<QByteArray>()); };
static const Operation lists
    = [](FTPCurl& ftp) { return ftp.listRecursively("dir", *std::make_unique<VirtualFileList>()); };
static const Operation makes = [](FTPCurl& ftp) { return ftp.internal_mkdir("dir"); };

/// Held while the system takes its time to name a proxy.
static std::mutex systemIsSlow;

/// Takes the place of Qt's own for the library, too.
QList<QNetworkProxy> QNetworkProxyFactory::systemProxyForQuery(const QNetworkProxyQuery& /*query*/)
{
    const std::lock_guard<std::mutex> guard(systemIsSlow);
    return { QNetworkProxy(QNetworkProxy::NoProxy) };
}

/// Asks for an interruption while the client is well into an operation.
class Interrupter
{
public:
    Interrupter(Thread& thread, std::future<void> moment)
        : mAsking([this, &thread, wait = std::move(moment)] {
            wait.wait();
            QThread::msleep(130); // it sleeps by now, and no timer of libcurl is about to run out
            mSinceAsked.start();
            thread.requestInterruption();
        })
    {
    }
    qint64 elapsed()
    {
        mAsking.join();
        return mSinceAsked.elapsed();
    }

private:
    QElapsedTimer mSinceAsked;
    std::thread mAsking;
};

class FTPFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void goesOnAfterAPause()
    {
        Session session;
        QVERIFY(session.ftp.setStallTimeOut(1));
        QVERIFY(session.ftp.internal_mkdir("a"));
        QThread::msleep(1100);
        QVERIFY2(session.ftp.internal_mkdir("b"), qPrintable(session.ftp.errorText()));
        QVERIFY(session.ftp.curlhandle());
        QThread::msleep(1100);
        QVERIFY2(session.ftp.internal_mkdir("c"), qPrintable(session.ftp.errorText()));
        QCOMPARE(session.server.commands(), QByteArrayList({ "MKD a", "NOOP", "MKD b", "MKD c" }));
    }

    void isInterruptedAtOnce()
    {
        const std::map<QByteArray, Operation> endless { { "RETR", downloads }, { "LIST", lists } };
        for (const auto& [verb, operation] : endless) {
            std::promise<void> isThere;
            FtpPlay play;
            play.replies = { { "SIZE", "500 what" } };
            play.isEndless = true;
            play.content = MEBIBYTE;
            play.listing = [](const QByteArray&) { return "-rw-r--r-- 1 a b 1 Jan 1 2020 one\r\n"; };
            play.onCommand = [&, verb = verb](const QByteArray& command) {
                if (command.startsWith(verb)) {
                    isThere.set_value();
                }
            };
            Session session(play);
            Thread thread;
            thread.addThreadableChild(&session.ftp);
            Interrupter interrupter(thread, isThere.get_future());
            const bool success = operation(session.ftp);
            const qint64 elapsed = interrupter.elapsed();
            QVERIFY2(elapsed <= 300, qPrintable(QString::number(elapsed)));
            QVERIFY(!success);
            QCOMPARE(session.ftp.error(), ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK));
        }
    }

    void isInterruptedWhileTheSystemLooksForItsProxy()
    {
        std::unique_lock<std::mutex> slowness(systemIsSlow);
        Thread thread;
        FTPCurl ftp;
        thread.addThreadableChild(&ftp);
        std::promise<void> now;
        Interrupter interrupter(thread, now.get_future());
        now.set_value();
        QVERIFY(!ftp.initHost(FtpTarget(FTPSettings::FTP, 1)));
        const qint64 elapsed = interrupter.elapsed();
        QVERIFY2(elapsed <= 300, qPrintable(QString::number(elapsed)));
        QCOMPARE(ftp.error(), ErrorableCode::of(FTPCurl::INTERRUPTED));
        slowness.unlock();
        ftp.setThreadForInterrupt(nullptr);
        QVERIFY(ftp.initHost(FtpTarget(FTPSettings::FTP, 1)));
    }

    void goesOnAfterAFault()
    {
        const std::vector<std::tuple<QByteArray, QByteArray, Operation>> cases { { "PASS", "530 not you", lists },
            { "after LIST", "421 time is up", lists }, { "PASV", "227 nonsense", downloads },
            { "MKD", "999 nonsense", makes }, { "MKD", "nonsense", makes },
            { "PASV", "421 idle for too long", downloads } };
        for (const auto& [at, reply, operation] : cases) {
            // The first connection plays the fault, the next one does not.
            FtpPlay play;
            std::atomic<int> faults { 1 };
            play.replies = { { at, reply } };
            play.isDue = [&] { return faults-- > 0; };
            play.listing = [](const QByteArray&) { return "-rw-r--r-- 1 a b 1 Jan 1 2020 one\r\n"; };
            play.content = "content";
            Session session(play);
            curl_easy_setopt(session.ftp.curlhandle(), CURLOPT_TIMEOUT_MS, 800L);
            operation(session.ftp);
            QByteArray data;
            QVERIFY2(session.ftp.getData("dir/a", data), at + ": " + reply);
            QCOMPARE(data, QByteArray("content"));
        }
    }

    void partsFromASilentServer()
    {
        const std::map<QByteArray, Operation> talks { { "QUIT", uploads }, { "after STOR", uploads },
            { "MKD", makes } };
        for (const auto& [silentAt, talk] : talks) {
            FtpPlay play;
            play.replies = { { silentAt, FtpPlay::SILENCE } };
            ScriptedFtpServer server(play);
            auto ftp = std::make_unique<FTPCurl>();
            const QList<std::function<void()>> partings { [&] { ftp->initHost(FtpTarget(FTPSettings::FTP, 1)); },
                [&] { ftp->close(); }, [&] { ftp.reset(); } };
            for (const auto& part : partings) {
                ftp->initHost(FtpTarget(FTPSettings::FTP, server.port()));
                curl_easy_setopt(ftp->curlhandle(), CURLOPT_TIMEOUT_MS, 200L);
                talk(*ftp);
                QElapsedTimer sinceParting;
                sinceParting.start();
                part();
                QVERIFY2(sinceParting.elapsed() < 300, silentAt);
            }
        }
    }
};

QTEST_GUILESS_MAIN(FTPFaultsTest)
#include "FTPFaultsTest.moc"
