#include "ScriptedServer.h"
#include "TestProgram.h"

#include <tavrel/HTTPCurl.h>

#include <transfer/EasyHandle.h>
#include <transfer/PipeSignal.h>
#include <transfer/TransferLoop.h>

#include <csignal>
#include <netinet/in.h>
#include <thread>

using Script = ScriptedServer::Script;
Q_DECLARE_METATYPE(Script)

/// A URL whose connection is never established: the queue of the port is full.
static QString unreachableUrl()
{
    const auto tcp = [] { return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); };
    static const int listener = tcp();
    sockaddr_in address {};
    socklen_t size = sizeof address;
    listen(listener, 0); // on a free port
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    for (int filler = 0; filler < 4; ++filler) {
        Q_UNUSED(connect(tcp(), reinterpret_cast<const sockaddr*>(&address), size))
    }
    return QString("http://127.0.0.1:%1/").arg(ntohs(address.sin_port));
}

class TransferLoopTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.path()); }

    void givesTheResultOfCurlItself()
    {
        const QList<QByteArrayList> cases { { "http://%1", "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx" },
            { "http://%1", "HTTP/1.1 404 No\r\nContent-Length: 1\r\n\r\nx" },
            { "http://%1", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nx" }, { "https://%1", "" },
            { "http://127.0.0.1:1/", "" }, { "nonsense://%1", "" } };
        for (QByteArrayList row : cases) {
            const ScriptedServer server(ScriptedServer::replying(row.at(1)));
            const EasyHandle easy(curl_easy_init());
            curl_easy_setopt(easy.get(), CURLOPT_URL, row[0].replace("%1", server.host().toUtf8()).constData());
            curl_easy_setopt(easy.get(), CURLOPT_FAILONERROR, 1L);
            curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT_MS, 300L);
            const EasyHandle same(curl_easy_duphandle(easy.get()));
            TransferLoop loop;
            QCOMPARE(loop.perform(easy.get()), curl_easy_perform(same.get()));
            QCOMPARE(loop.perform(easy.get()), curl_easy_perform(same.get()));
        }
    }

    void isInterruptedAtOnce_data()
    {
        QTest::addColumn<QString>("scheme"); // none: unreachable
        QTest::addColumn<bool>("uploads");
        QTest::addColumn<Script>("script");
        QTest::addColumn<bool>("stalls");
        const Script idle = [](ScriptedServer& server, QTcpSocket&) {
            while (!server.isInterruptionRequested()) {
                QThread::msleep(5);
            }
        };
        const Script half = ScriptedServer::silentAfter("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\npage");
        const Script drip = [](ScriptedServer& server, QTcpSocket& socket) {
            socket.write("HTTP/1.1 200 OK\r\n\r\n");
            while (!server.isInterruptionRequested() && socket.write("x") == 1 && socket.waitForBytesWritten()) {
                QThread::msleep(5);
            }
        };
        QTest::newRow("while it connects") << "" << false << idle << false;
        QTest::newRow("while it shakes hands") << "https" << false << idle << true;
        QTest::newRow("after half an answer") << "http" << false << half << true;
        QTest::newRow("while the answer drips") << "http" << false << drip << false;
        QTest::newRow("while it uploads to nobody") << "http" << true << idle << true;
    }
    void isInterruptedAtOnce()
    {
        QFETCH(bool, stalls);
        for (const bool isBounded : { false, true }) {
            Thread owner;
            HTTPCurl client;
            owner.addThreadableChild(&client);
            QVERIFY(client.setStallTimeOut(isBounded ? 1 : 0));
            QElapsedTimer sinceAsked;
            std::thread asking([&] {
                QThread::msleep(isBounded ? 2770 : 270); // well into it, and not when a timer of libcurl runs out
                sinceAsked.start();
                owner.requestInterruption();
            });
            const bool success = request(client);
            asking.join();
            QVERIFY2(sinceAsked.elapsed() <= 300, qPrintable(QString::number(sinceAsked.elapsed())));
            QVERIFY(!success);
            const bool hasStalled = isBounded && stalls;
            QCOMPARE(
                client.error(), ErrorableCode::of(hasStalled ? CURLE_OPERATION_TIMEDOUT : CURLE_ABORTED_BY_CALLBACK));
        }
    }

    void stallsWhileItConnectsIfAsked()
    {
        const EasyHandle easy(curl_easy_init());
        curl_easy_setopt(easy.get(), CURLOPT_URL, unreachableUrl().toUtf8().constData());
        TransferLoop loop;
        loop.setStallTimeOut(std::chrono::milliseconds(100));
        loop.setStallsWhileConnecting(true);
        QCOMPARE(loop.perform(easy.get()), CURLE_OPERATION_TIMEDOUT);
    }

    void dropsTheSignalOfABrokenPipe()
    {
        {
            const PipeSignal withoutSignal;
            raise(SIGPIPE);
        }
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        QCOMPARE(sigismember(&blocked, SIGPIPE), 0); // and this process lives on
    }

private:
    static bool request(HTTPCurl& client)
    {
        QFETCH(QString, scheme);
        QFETCH(bool, uploads);
        QFETCH(Script, script);
        const ScriptedServer server(script);
        const QString url = scheme.isEmpty() ? unreachableUrl() : server.url(scheme);
        return uploads ? client.postForm(url, {}, QByteArray(8 << 20, 'x'), false) : client.testURLResponse(url);
    }

    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(TransferLoopTest)
#include "TransferLoopTest.moc"
