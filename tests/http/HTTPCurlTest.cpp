#include "ScriptedServer.h"
#include "TestProgram.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/HttpQueryParameters.h>

#include <QSaveFile>

static QByteArray reply(const QByteArray& status, const QByteArray& body, const QByteArray& headers = {})
{
    const QByteArray length = QByteArray::number(body.size());
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + length + "\r\n" + headers + "\r\n" + body;
}

/// The multipart body of a request, with "--B" for its boundary.
static QByteArray bodyOf(const QByteArray& request)
{
    const int at = request.indexOf("boundary=") + 9;
    const QByteArray boundary = request.mid(at, request.indexOf("\r\n", at) - at);
    return request.mid(request.indexOf("\r\n\r\n") + 4).replace("--" + boundary, "--B");
}

static QByteArray part(const QByteArray& nameAndMore, const QByteArray& content)
{
    return "--B\r\nContent-Disposition: form-data; name=" + nameAndMore + "\r\n\r\n" + content + "\r\n";
}

/// Marks what passes through the hooks.
struct Hooked : HTTPCurl
{
    QByteArray& preProcess(QByteArray& data, bool base64) override
    {
        mCalls += base64 ? "text " : "file ";
        return data.append(base64 ? "<text>" : "<file>");
    }
    bool postProcess(QByteArray& response) override
    {
        mCalls += "reply";
        response.prepend("processed ");
        return mAccepts;
    }
    QByteArray mCalls;
    bool mAccepts = true;
};

class HTTPCurlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.filePath("cookies/deep")); }

    void tellsWhatTheServerAnswered_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("outcome"); // the name of the error; "ok" for a success
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        const QByteArray unannounced = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n1234";
        const QByteArray large = reply("200 OK", QByteArray(1000, 'x'));
        const QByteArray longHead = reply("200 OK", "", "X: " + QByteArray(102400, 'x') + "\r\n");
        const QByteArray cut = reply("200 OK", "12345").chopped(1);
        // 8.6.0 added CURLE_TOO_LARGE, which the headers of older versions do not have.
        const auto tooLarge = LIBCURL_VERSION_NUM < 0x080600 ? CURLE_OUT_OF_MEMORY : static_cast<CURLcode>(100);
        QTest::newRow("a page") << reply("200 OK", "page") << -1 << "ok" << 200 << "";
        QTest::newRow("an empty page") << reply("200 OK", "") << 0 << "ok" << 200 << "";
        QTest::newRow("missing") << reply("404 No", "no") << -1 << "NOT_FOUND_4XX" << 404 << "Resource not found";
        QTest::newRow("broken") << reply("503 No", "no") << -1 << "SERVER_ERROR_5XX" << 503 << "Server critical error";
        QTest::newRow("odd, without an error") << reply("600 Odd", "no") << -1 << "" << 600 << "";
        QTest::newRow("larger than the limit")
            << large << 999 << "DOWNLOAD_LIMIT_REACHED" << 200 << "Download limit reached 999 bytes";
        QTest::newRow("as large as the limit") << large << 1000 << "ok" << 200 << "";
        QTest::newRow("an unannounced size is never cut") << unannounced << 2 << "ok" << 200 << "";
        QTest::newRow("shorter than announced")
            << cut << -1 << "curlCode" << 200 << curl_easy_strerror(CURLE_PARTIAL_FILE);
        QTest::newRow("not HTTP") << QByteArray("SSH-2.0-x\r\n") << -1 << "curlCode" << 0
                                  << curl_easy_strerror(CURLE_UNSUPPORTED_PROTOCOL);
        QTest::newRow("a redirection to FTP") << reply("302 Moved", "", "Location: ftp://127.0.0.1:1/\r\n") << -1
                                              << "curlCode" << 302 << curl_easy_strerror(CURLE_UNSUPPORTED_PROTOCOL);
        QTest::newRow("a header of 100 KB") << longHead << -1 << "curlCode" << 200 << curl_easy_strerror(tooLarge);
    }
    void tellsWhatTheServerAnswered()
    {
        QFETCH(QByteArray, sent);
        QFETCH(int, limit);
        QFETCH(QString, outcome);
        const ScriptedServer server(ScriptedServer::replying(sent));
        HTTPCurl client;
        client.setLimitDownload(limit);
        QByteArray data = "stale";
        QCOMPARE(client.getData(server.url(), data), outcome == "ok");
        QCOMPARE(client.error().name(), outcome == "ok" ? QString() : outcome);
        QTEST(client.errorMessage(), "message");
        QTEST(int(client.HTTPResponseCode()), "status");
        QVERIFY(outcome != "ok" || sent.endsWith("\r\n\r\n" + data));
        QVERIFY(!client.hasError() || client.error().location().startsWith("src/http/HTTPCurl"));
    }

    void refusesWhatCannotWork()
    {
        HTTPCurl client;
        QByteArray data = "stale";
        QVERIFY(!client.getData(QString(), data));
        QVERIFY(data.isEmpty());
        QCOMPARE(static_cast<Errorable*>(client.qt_metacast("Errorable"))->error().name(), QString("EMPTY_URL"));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::EMPTY_URL));
        QVERIFY(!Errorable::sErrorMessages.contains(client.error()));
        QVERIFY(!client.getData(QString(2000, 'x'), data));
        QCOMPARE(client.error().typeName(), QString("CURLcode"));
        const ScriptedServer server(ScriptedServer::replying(reply("200 OK", "page")));
        QVERIFY(!client.getFile(server.url(), mFolder.filePath("no/folder")));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::GET_CANT_WRITE_DEVICE));
        for (const int size : { 4, 1 << 20 }) { // noticed when the file is closed, and before
            const ScriptedServer large(ScriptedServer::replying(reply("200 OK", QByteArray(size, 'x'))));
            QVERIFY(!client.getFile(large.url(), "/dev/full"));
            QCOMPARE(client.error(), ErrorableCode::of(CURLE_WRITE_ERROR));
        }
        QSaveFile file(mFolder.filePath("saved")); // which must not be closed but by its owner
        QVERIFY(client.getDataRaw(server.url(), file));
        QVERIFY(file.commit());
        QCOMPARE(QFileInfo(file.fileName()).size(), qint64(4));
    }

    void sendsAgentAndCookies()
    {
        ScriptedServer server(ScriptedServer::replying(reply("200 OK", "", "Set-Cookie: k=v; Max-Age=9\r\n")));
        HTTPCurl client;
        QVERIFY(client.testURLResponse(server.url()));
        client.setUserAgentExtension("B");
        QVERIFY(HTTPCurl().testURLResponse(server.url()));
        QVERIFY(client.testURLResponse(server.url()));
        QVERIFY(HTTPCurl::clearLocalSessionCookie());
        QVERIFY(!HTTPCurl::clearLocalSessionCookie());
        client.setUserAgent("A");
        QVERIFY(client.testURLResponse(server.url()));
        const QByteArray head = "GET / HTTP/1.1\r\nHost: " + server.host().toUtf8() + "\r\nAccept: */*\r\n";
        const QByteArray agent
            = "User-Agent: Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like "
              "Gecko) Chrome/58.0.3029.110 Safari/537.36";
        const QByteArray end = "\r\nCache-Control: no-cache\r\n\r\n";
        const QByteArray cookie = "Cookie: k=v\r\n";
        QCOMPARE(server.requests(),
            QList<QByteArray>({ head + agent + end, head + cookie + agent + end, head + cookie + agent + " B" + end,
                head + "User-Agent: A B" + end }));
    }

    void keepsCookiesInAFileOfItsOwnOnly()
    {
        const ScriptedServer server(ScriptedServer::replying(reply("200 OK", "", "Set-Cookie: k=v; Max-Age=9\r\n")));
        HTTPCurl client;
        QVERIFY(client.testURLResponse(server.url()));
        QCOMPARE(QFile::permissions(HTTPCurl::cookieFilePath()) & 0x77, QFile::Permissions());
        for (const char* target : { "there", "missing" }) {
            QVERIFY(HTTPCurl::clearLocalSessionCookie());
            QVERIFY(*target == 'm' || FileUtils::writeFileContent(mFolder.filePath(target), "other"));
            QVERIFY(QFile::link(mFolder.filePath(target), HTTPCurl::cookieFilePath()));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("cookies .* not kept"));
            QVERIFY(client.testURLResponse(server.url()));
            QVERIFY(QFileInfo(HTTPCurl::cookieFilePath()).isSymLink());
            QCOMPARE(FileUtils::readFileContent(mFolder.filePath(target)), QByteArray(*target == 'm' ? "" : "other"));
            QVERIFY(*target == 't' || !QFile::exists(mFolder.filePath(target)));
        }
        QVERIFY(HTTPCurl::clearLocalSessionCookie());
    }

    void tellsErrorDetailsWithoutCredentials()
    {
        HTTPCurl client;
        QVERIFY(!client.testURLResponse("http://127.0.0.1:1/"));
        QVERIFY2(client.errorDetail().contains("to 127.0.0.1"), qPrintable(client.errorDetail()));
        QVERIFY(!client.checkUrl(QString()));
        QCOMPARE(client.errorDetail(), QString("EMPTY_URL"));
        // The user, then the decoded password, is part of the text of each libcurl.
        for (const QString account : { "127:x", "x:conn%65ct" }) {
            QVERIFY(!client.testURLResponse("http://" + account + "@127.0.0.1:1/"));
            QCOMPARE(client.errorDetail(), QString(curl_easy_strerror(CURLE_COULDNT_CONNECT)));
        }
        QVERIFY(!client.setStallTimeOut(-1));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::BAD_PARAMETER));
        const ScriptedServer server(ScriptedServer::replying(reply("200 OK", "")));
        QVERIFY(client.testURLResponse(server.url()));
        QCOMPARE(client.errorDetail(), QString());
    }

    void keepsConnectionsOfSuccessfulRequests()
    {
        std::atomic<int> connections { 0 };
        ScriptedServer server([&](ScriptedServer& self, QTcpSocket& socket) {
            ++connections;
            QByteArray request;
            while (!request.contains("/close ") && !(request = self.readRequest(socket)).isEmpty()) {
                self.send(socket, reply(request.contains("/missing ") ? "404 No" : "200 OK", request.left(4)));
            }
        });
        const ScriptedServer other(ScriptedServer::replying(reply("200 OK", "", "Set-Cookie: k=v; Max-Age=9\r\n")));
        HTTPCurl client;
        client.setKeepConnections(true);
        QByteArray data;
        QVERIFY(client.getData(server.url(), data));
        QVERIFY(HTTPCurl().testURLResponse(other.url()));
        QVERIFY(client.postForm(server.url(), {}));
        QCOMPARE(data + client.response(), QByteArray("GET POST"));
        QVERIFY(server.requests().last().contains("Cookie: k=v"));
        QVERIFY(HTTPCurl::clearLocalSessionCookie());
        QCOMPARE(connections.load(), 1);
        QVERIFY(!client.testURLResponse(server.url() + "missing"));
        QVERIFY(client.testURLResponse(server.url() + "close"));
        QVERIFY(!server.requests().last().contains("Cookie:"));
        QCOMPARE(connections.load(), 2);
        QVERIFY(client.postForm(server.url(), {}, "file", false)); // over a connection that the server has closed
        QCOMPARE(connections.load(), 3);
        client.setKeepConnections(false);
        QVERIFY(client.testURLResponse(server.url() + "close"));
        QCOMPARE(connections.load(), 4);
    }

    void knowsRedirections()
    {
        const ScriptedServer server([](ScriptedServer& self, QTcpSocket& socket) {
            const bool moved = self.readRequest(socket).startsWith("GET /Moved");
            self.send(socket, moved ? reply("302 Moved", "", "Location: /New/\r\n") : reply("200 OK", "page"));
        });
        // %1 stands for the server's host. The last row is libcurl's own tidying.
        const QList<QStringList> cases { { "HTTP://%1/a", "" }, { "%1/a", "" }, { "http://%1", "" },
            { "http://%1/Moved", "http://%1/New/" }, { "http://%1?q", "http://%1/?q" } };
        for (QStringList row : cases) {
            HTTPCurl client;
            row.replaceInStrings("%1", server.host());
            QVERIFY(client.testURLResponse(row.at(0)));
            QCOMPARE(client.redirectedURL(), row.at(1));
            QCOMPARE(client.wasRedirected(), !row.at(1).isEmpty());
        }
        HTTPCurl client;
        Thread owner;
        owner.addThreadableChild(&client);
        owner.requestInterruption(); // before a request begins
        QVERIFY(!client.testURLResponse(server.url()));
        QVERIFY(!client.wasRedirected());
        QCOMPARE(HTTPCurl::cleanUrl("http:/"), QString("http:/"));
        QCOMPARE(HTTPCurl::cleanUrl("http://a//"), QString("http://a/"));
        QVERIFY(HTTPCurl::isDistantUrl("HTTPS://a"));
        QVERIFY(!HTTPCurl::isDistantUrl("http:/a"));
    }

    void progressStartsAtZeroAndATimeOutEnds()
    {
        const ScriptedServer silent(ScriptedServer::silentAfter(""));
        HTTPCurl client;
        client.setTimeOut(1);
        QVector<double> seen;
        connect(&client, &HTTPCurl::progress, this, [&seen](double percent) { seen << percent; });
        QVERIFY(!client.testURLResponse(silent.url()));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_OPERATION_TIMEDOUT));
        QCOMPARE(seen, QVector<double> { 0.0 });
        const ScriptedServer honest(ScriptedServer::replying(reply("200 OK", "page")));
        QVERIFY(client.testURLResponse(honest.url()));
        QCOMPARE(seen.last(), 100.0);
    }

    void refusesRequestsFromItsSlots()
    {
        ScriptedServer server(ScriptedServer::replying(reply("200 OK", "page")));
        HTTPCurl client;
        QStringList refusals;
        QByteArray inner;
        connect(&client, &HTTPCurl::progress, this, [&] {
            const bool success = refusals.size() % 2 == 0 ? client.getData(server.url(), inner)
                                                          : client.postForm(server.url(), {}, "x", true);
            refusals << (success ? "none" : client.error().name());
            client.clear();
        });
        QByteArray data;
        QVERIFY(client.getData(server.url(), data));
        QCOMPARE(data, QByteArray("page"));
        QCOMPARE(client.HTTPResponseCode(), 200L);
        QVERIFY(client.postForm(server.url(), {}));
        QCOMPARE(client.response(), QByteArray("page"));
        QVERIFY(!client.hasError());
        QCOMPARE(server.requests().size(), 2);
        refusals.removeDuplicates();
        QCOMPARE(refusals, QStringList("REQUEST_IN_PROGRESS"));
    }

    void sendsParametersAsFields()
    {
        ScriptedServer server(ScriptedServer::replying(reply("200 OK", "")));
        HttpQueryParameters parameters;
        HTTPCurl client;
        QVERIFY(client.postHttp(server.url(), parameters));
        QVERIFY(server.requests().last().startsWith("POST "));
        QVERIFY(server.requests().last().contains("Content-Length: 0"));
        parameters.addParamEncoded("first", "a b&c");
        parameters.addParam("nul", QString("a") + QChar(0) + "b");
        parameters.addParam(QString("key") + QChar(0) + "cut", "");
        parameters.addParam("line\r\nX-Injected: 1", "v");
        QVERIFY(client.postHttp(server.url(), parameters));
        QCOMPARE(bodyOf(server.requests().last()),
            part("\"first\"", "a b&c") + part("\"nul\"", QByteArray("a\0b", 3)) + part("\"key\"", "")
                + part("\"line%0D%0AX-Injected: 1\"", "v") + "--B--\r\n");
    }

    void sendsJsonAndFile()
    {
        const QByteArray file("\0\r\n--\xff", 6);
        const QByteArray type = "\r\nContent-Type: application/octet-stream";
        for (const QString& name : { QString(), QString("é.bin") }) {
            for (const bool hasFile : { false, true }) {
                ScriptedServer server(ScriptedServer::replying(reply("200 OK", "reply")));
                const QJsonObject json { { name.isEmpty() ? "other" : "#file_name#", name } };
                const QByteArray fileName = name.isEmpty() ? "uploadedFile" : name.toUtf8();
                Hooked client;
                QVERIFY(client.postForm(server.url(), json, hasFile ? file : QByteArray(), hasFile));
                QCOMPARE(client.mCalls, QByteArray("file text reply"));
                QCOMPARE(client.response(), QByteArray("processed reply"));
                QCOMPARE(client.lastJsonSent(), QJsonDocument(json));
                QCOMPARE(bodyOf(server.requests().last()),
                    (hasFile ? part("\"sendfile\"; filename=\"" + fileName + '"' + type, file + "<file>") : "")
                        + part("\"data_json\"", QJsonDocument(json).toJson() + "<text>")
                        + (hasFile ? part("\"part_result_as_binary\"", "1") : "") + part("\"submit\"", "send")
                        + "--B--\r\n");
            }
        }
    }

    void sendsAFileAgainAfterARedirection()
    {
        ScriptedServer server([](ScriptedServer& self, QTcpSocket& socket) {
            const bool moved = self.readRequest(socket).startsWith("POST /Moved");
            self.send(socket, moved ? reply("307 Moved", "", "Location: /New\r\n") : reply("200 OK", ""));
        });
        QVERIFY(HTTPCurl().postForm(server.url() + "Moved", {}, QByteArray(100000, 'x'), false));
        QVERIFY(bodyOf(server.requests().last()) == bodyOf(server.requests().first()));
        QVERIFY(server.requests().last().startsWith("POST /New"));
    }

    void splitsBinaryReplies()
    {
        const QList<QByteArrayList> cases { { "{}", "{}", "" },
            { "{}##SEPARATOR##b##SEPARATOR##", "{}", "b##SEPARATOR##" }, { "{}##SEPARATOR##", "{}", "" },
            { "##SEPARATOR##b", "", "b" } };
        for (const QByteArrayList& row : cases) {
            const ScriptedServer server(ScriptedServer::replying(reply("200 OK", row.at(0))));
            HTTPCurl client;
            QVERIFY(client.postForm(server.url(), QJsonObject(), QByteArray(), true));
            QCOMPARE(QByteArrayList({ client.response(), client.binaryResponse() }), row.mid(1));
            QVERIFY(client.postForm(server.url(), QJsonObject()));
            QCOMPARE(client.response(), row.at(0));
            QVERIFY(client.binaryResponse().isEmpty());
        }
    }

    void failuresAreMapped()
    {
        const ScriptedServer missing(ScriptedServer::replying(reply("404 No", "")));
        const ScriptedServer server(ScriptedServer::replying(reply("200 OK", "reply")));
        Hooked client;
        client.mAccepts = false;
        for (const auto& [url, limit, error] : { std::tuple { QString(), 2, ErrorableCode::of(HTTPCurl::EMPTY_URL) },
                 { missing.url(), 2, ErrorableCode::of(HTTPCurl::NOT_FOUND_4XX) },
                 { server.url(), 2, ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK) },
                 { server.url(), 5, ErrorableCode() } }) { // refused by a hook, which sets none
            client.setLimitDownload(limit);
            QVERIFY(!client.postForm(url, QJsonObject()));
            QCOMPARE(client.error(), error);
        }
    }

private:
    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(HTTPCurlTest)
#include "HTTPCurlTest.moc"
