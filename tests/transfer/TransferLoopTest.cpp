#include "ScriptedServer.h"

#include <tavrel/TavrelInitializer.h>

#include <transfer/EasyHandle.h>
#include <transfer/TransferLoop.h>

#include <QtTest>

static const TavrelInitializer initializer;

class TransferLoopTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void givesTheResultOfCurlItself_data()
    {
        QTest::addColumn<QByteArray>("url"); // "PORT" stands for the server's
        QTest::newRow("a page") << QByteArray("http://127.0.0.1:PORT/");
        QTest::newRow("a status") << QByteArray("http://127.0.0.1:PORT/missing");
        QTest::newRow("cut short") << QByteArray("http://127.0.0.1:PORT/short");
        QTest::newRow("silent") << QByteArray("http://127.0.0.1:PORT/silent");
        QTest::newRow("no TLS") << QByteArray("https://127.0.0.1:PORT/");
        QTest::newRow("nobody there") << QByteArray("http://127.0.0.1:1/");
        QTest::newRow("no such scheme") << QByteArray("nonsense://127.0.0.1/");
        QTest::newRow("no URL") << QByteArray();
        QTest::newRow("a file") << QByteArray("file:///no/such/file");
    }
    void givesTheResultOfCurlItself()
    {
        QFETCH(QByteArray, url);
        ScriptedServer server([](ScriptedServer::Connection& connection) {
            const QByteArray request = connection.readRequest();
            if (request.startsWith("GET /silent")) {
                connection.waitForClose();
            }
            connection.send(request.startsWith("GET /missing")
                    ? "HTTP/1.1 404 No\r\nContent-Length: 4\r\n\r\npage"
                    : request.startsWith("GET /short") ? "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\npage"
                                                       : "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\npage");
        });
        const QByteArray port = server.url("").section(':', 2).toUtf8();
        const auto setUp = [&] {
            EasyHandle easy(curl_easy_init());
            if (!url.isEmpty()) {
                curl_easy_setopt(easy.get(), CURLOPT_URL, url.replace("PORT", port).constData());
            }
            curl_easy_setopt(easy.get(), CURLOPT_FAILONERROR, 1L);
            curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT_MS, 500L);
            curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
            curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION,
                static_cast<curl_write_callback>(
                    [](char*, size_t size, size_t count, void*) { return size * count; }));
            return easy;
        };
        const CURLcode expected = curl_easy_perform(setUp().get());
        TransferLoop loop;
        const EasyHandle easy = setUp();
        QCOMPARE(loop.perform(easy.get()), expected);
        QCOMPARE(loop.perform(easy.get()), expected);
    }
};

QTEST_GUILESS_MAIN(TransferLoopTest)
#include "TransferLoopTest.moc"
