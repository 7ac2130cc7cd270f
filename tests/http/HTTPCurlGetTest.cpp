#include "ScriptedServer.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QSaveFile>
#include <QtTest>

static const TavrelInitializer initializer;

static QByteArray reply(const QByteArray& status, const QByteArray& body, const QByteArray& headers = {})
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" + headers
        + "\r\n" + body;
}

/// The callbacks as libcurl sees them.
struct Callbacks : HTTPCurl
{
    using HTTPCurl::my_dummy_write;
    using HTTPCurl::write_data;
};

class HTTPCurlGetTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.filePath("cookies/deep")); }

    void tellsWhatTheServerAnswered_data()
    {
        const QByteArray unannounced = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n";
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<qint64>("limit");
        QTest::addColumn<QString>("error"); // empty: none; "ok": success
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("data");
        const auto row = [](const char* name, const QByteArray& sent, qint64 limit, const char* error,
                             const char* message, int status, const QByteArray& data = {}) {
            QTest::newRow(name) << sent << limit << error << message << status << data;
        };
        row("a page", reply("200 OK", "page"), -1, "ok", "", 200, "page");
        row("an empty page", reply("200 OK", ""), -1, "ok", "", 200);
        row("a missing page", reply("404 Not Found", "no"), 0, "NOT_FOUND_4XX", "Resource not found", 404);
        row("a broken server", reply("503 Busy", "no"), 0, "SERVER_ERROR_5XX", "Server critical error", 503);
        row("an odd status fails without an error", reply("600 Odd", "no"), 0, "", "", 600);
        row("larger than the limit", reply("200 OK", QByteArray(1001, 'x')), 1000, "DOWNLOAD_LIMIT_REACHED",
            "Download limit reached 1000 bytes", 200);
        row("as large as the limit", reply("200 OK", QByteArray(1000, 'x')), 1000, "ok", "", 200,
            QByteArray(1000, 'x'));
        row("no limit", reply("200 OK", "12"), 0, "ok", "", 200, "12");
        row("an unannounced size is never cut short", unannounced + "12345", 2, "ok", "", 200, "12345");
        row("shorter than announced", reply("200 OK", "12345").chopped(1), 0, "curlCode",
            "Transferred a partial file", 200, "1234");
        row("nothing at all", "", 0, "curlCode", "Server returned nothing (no headers, no data)", 0);
        row("not HTTP", "SSH-2.0-x\r\n", 0, "curlCode", "Unsupported protocol", 0);
        row("a header of 100 KB", reply("200 OK", "", "X: " + QByteArray(102400, 'x') + "\r\n"), 0,
            "curlCode", "Out of memory", 200);
    }
    void tellsWhatTheServerAnswered()
    {
        QFETCH(QByteArray, sent);
        QFETCH(qint64, limit);
        QFETCH(QString, error);
        ScriptedServer server(ScriptedServer::replying(sent));
        HTTPCurl client;
        client.setLimitDownload(limit);
        QByteArray data = "stale";
        QCOMPARE(client.getData(server.url(), data), error == "ok");
        QCOMPARE(client.error().name(), error == "ok" ? QString() : error);
        QTEST(client.errorMessage(), "message");
        QTEST(static_cast<int>(client.HTTPResponseCode()), "status");
        if (error != "DOWNLOAD_LIMIT_REACHED") { // which ends a transfer at any point of the body
            QTEST(data, "data");
        }
        QVERIFY(!client.hasError()
            || QRegularExpression("^src/http/HTTPCurl\\.cpp:\\d+$")
                   .match(client.error().location())
                   .hasMatch());
    }

    void refusesWhatCannotWork()
    {
        HTTPCurl client;
        QByteArray data = "stale";
        QVERIFY(!client.getData(QString(), data));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::EMPTY_URL));
        QVERIFY(data.isEmpty() && !Errorable::sErrorMessages.contains(client.error()));
        QVERIFY(!client.getData(QString(2000, 'x'), data));
        QCOMPARE(client.error().typeName(), QString("CURLcode"));

        ScriptedServer server(ScriptedServer::replying(reply("200 OK", "page")));
        QVERIFY(!client.getFile(server.url(), mFolder.filePath("no/folder")));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::GET_CANT_WRITE_DEVICE));
        QVERIFY(!client.getFile(server.url(), "/dev/full"));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_WRITE_ERROR));
        QVERIFY(client.testURLResponse(server.url()));
        QCOMPARE(Callbacks::write_data(nullptr, 7, 3, nullptr), size_t(3));
        QCOMPARE(Callbacks::my_dummy_write(nullptr, 7, 3, nullptr), size_t(21));
    }

    void writesToAnyDevice()
    {
        ScriptedServer server(ScriptedServer::replying(reply("200 OK", "page")));
        HTTPCurl client;
        QSaveFile file(mFolder.filePath("saved"));
        QVERIFY(client.getDataRaw(server.url(), file));
        QVERIFY(file.commit());
        QVERIFY(client.getFile(server.url(), mFolder.filePath("plain")));
        for (const char* name : { "saved", "plain" }) {
            QFile written(mFolder.filePath(name));
            QVERIFY(written.open(QIODevice::ReadOnly));
            QCOMPARE(written.readAll(), QByteArray("page"));
        }
    }

    void sendsAgentAndCookies()
    {
        ScriptedServer server(
            ScriptedServer::replying(reply("200 OK", "", "Set-Cookie: k=v; Max-Age=3600\r\n")));
        QByteArray data;
        HTTPCurl first;
        QVERIFY(first.getData(server.url(), data));
        HTTPCurl second;
        second.setUserAgentExtension("B");
        QVERIFY(second.getData(server.url(), data));
        QVERIFY(HTTPCurl::clearLocalSessionCookie() && !HTTPCurl::clearLocalSessionCookie());
        second.setUserAgent("A");
        QVERIFY(second.getData(server.url(), data));

        const QByteArray head
            = "GET / HTTP/1.1\r\nHost: " + server.url("").mid(7).toUtf8() + "\r\nAccept: */*\r\n";
        const QByteArray agent = "User-Agent: Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 "
                                 "(KHTML, like Gecko) Chrome/58.0.3029.110 Safari/537.36";
        const QByteArray end = "\r\nCache-Control: no-cache\r\n\r\n";
        const QList<QByteArray> expected { head + agent + end, head + "Cookie: k=v\r\n" + agent + " B" + end,
            head + "User-Agent: A B" + end };
        QCOMPARE(server.requests(), expected);
    }

    void knowsRedirections_data()
    {
        QTest::addColumn<QString>("asked");
        QTest::addColumn<QString>("redirectedTo");
        QTest::newRow("the same") << "http://HOST/a"
                                  << "";
        QTest::newRow("the scheme in capitals") << "HTTP://HOST/a"
                                                << "";
        QTest::newRow("no scheme") << "HOST/a"
                                   << "";
        QTest::newRow("one slash is tidied") << "http://HOST"
                                             << "";
        QTest::newRow("two slashes, asked and answered") << "http://HOST//"
                                                         << "";
        QTest::newRow("moved") << "http://HOST/Moved"
                               << "http://HOST/New/";
        QTest::newRow("libcurl's own tidying") << "http://HOST?q"
                                               << "http://HOST/?q";
    }
    void knowsRedirections()
    {
        QFETCH(QString, asked);
        QFETCH(QString, redirectedTo);
        ScriptedServer server([](ScriptedServer::Connection& connection) {
            const bool moved = connection.readRequest().startsWith("GET /Moved");
            connection.send(moved ? reply("302 Moved", "", "Location: /New/\r\n") : reply("200 OK", "page"));
        });
        const QString host = server.url("").mid(7);
        HTTPCurl client;
        QVERIFY(client.testURLResponse(asked.replace("HOST", host)));
        QCOMPARE(client.redirectedURL(), redirectedTo.replace("HOST", host));
        QCOMPARE(client.wasRedirected(), !redirectedTo.isEmpty());
    }

    void tidiesUrls()
    {
        QCOMPARE(HTTPCurl::cleanUrl("http:/"), QString("http:/"));
        QCOMPARE(HTTPCurl::cleanUrl("http://"), QString("http:/"));
        QCOMPARE(HTTPCurl::cleanUrl("http://a//"), QString("http://a/"));
        QVERIFY(HTTPCurl::isDistantUrl("HTTPS://a") && HTTPCurl::isDistantUrl("http://"));
        QVERIFY(!HTTPCurl::isDistantUrl("ftp://a") && !HTTPCurl::isDistantUrl("http:/a"));
    }

    void progressStartsAtZeroBeforeTheRequestAndTimesOut()
    {
        ScriptedServer server([](ScriptedServer::Connection& connection) { connection.waitForClose(); });
        HTTPCurl client;
        client.setTimeOut(1);
        QByteArray data;
        QVector<double> seen;
        connect(&client, &HTTPCurl::progress, this, [&](double percent) { seen << percent; });
        QVERIFY(!client.getData(server.url(), data));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_OPERATION_TIMEDOUT));
        QCOMPARE(seen, QVector<double> { 0.0 });
        ScriptedServer honest(ScriptedServer::replying(reply("200 OK", "page")));
        QVERIFY(client.getData(honest.url(), data));
        QCOMPARE(seen.last(), 100.0);
    }

private:
    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(HTTPCurlGetTest)
#include "HTTPCurlGetTest.moc"
