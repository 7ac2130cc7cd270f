#include "ScriptedServer.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/Thread.h>

#include <QtTest>

static const TavrelInitializer initializer;

using Script = ScriptedServer::Script;
Q_DECLARE_METATYPE(Script)

/// Runs one request on a thread of its own.
class Request : public Thread
{
public:
    Request(QString url, bool upload)
        : mUrl(std::move(url))
        , mUpload(upload)
    {
        addThreadableChild(&mClient);
    }
    ~Request() override { interruptAndWait(); }

    void run() override
    {
        QByteArray data;
        mSuccess = mUpload ? mClient.postForm(mUrl, QJsonObject(), QByteArray(64 << 20, 'x'), false)
                           : mClient.getData(mUrl, data);
    }

    QString mUrl;
    bool mUpload;
    bool mSuccess = true;
    HTTPCurl mClient;
};

class InterruptionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.path()); }

    void endsARequestAtOnce_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<bool>("upload");
        QTest::addColumn<Script>("script"); // none: the connection is never established
        const Script silent = [](ScriptedServer::Connection& connection) { connection.waitForClose(); };
        QTest::newRow("connecting") << "" << false << Script();
        QTest::newRow("shaking hands") << "https" << false << silent;
        QTest::newRow("waiting for an answer") << "http" << false << silent;
        QTest::newRow("after half an answer")
            << "http" << false << Script([](ScriptedServer::Connection& connection) {
                   connection.readRequest();
                   connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n12345");
                   connection.waitForClose();
               });
        QTest::newRow("while it drips")
            << "http" << false << Script([](ScriptedServer::Connection& connection) {
                   connection.readRequest();
                   connection.drip("HTTP/1.1 200 OK\r\n\r\n" + QByteArray(10000, 'x'), 1, 5);
               });
        QTest::newRow("uploading to a reader") << "http" << true << silent;
        QTest::newRow("uploading to nobody")
            << "http" << true << Script([](ScriptedServer::Connection& connection) {
                   connection.drip(QByteArray("HTTP/1.1 100 Continue\r\n\r\n").repeated(100), 25, 20);
               });
    }
    void endsARequestAtOnce()
    {
        QFETCH(QString, scheme);
        QFETCH(bool, upload);
        QFETCH(Script, script);
        const FullListener full;
        ScriptedServer server(script);
        Request request(script ? server.url("/", scheme) : full.url(), upload);
        request.start();
        if (script) {
            server.waitForConnections(1);
        }
        QVERIFY(!request.wait(150)); // well into it
        QElapsedTimer time;
        time.start();
        request.requestInterruption();
        QVERIFY(request.wait());
        QVERIFY2(time.elapsed() <= 300, qPrintable(QString::number(time.elapsed())));
        QVERIFY(!request.mSuccess);
        QCOMPARE(request.mClient.error(), ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK));
    }

private:
    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(InterruptionTest)
#include "InterruptionTest.moc"
