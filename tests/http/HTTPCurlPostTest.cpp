#include "ScriptedServer.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/HttpQueryParameters.h>
#include <tavrel/TavrelInitializer.h>

#include <QtTest>

static const TavrelInitializer initializer;

static QByteArray page(const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// The parts of a multipart body, each as its header lines and content, with the boundary cut away.
static QList<QByteArray> partsOf(const QByteArray& request)
{
    const int boundaryAt = request.indexOf("boundary=") + 9;
    const QByteArray boundary
        = "--" + request.mid(boundaryAt, request.indexOf("\r\n", boundaryAt) - boundaryAt);
    QList<QByteArray> parts;
    int at = request.indexOf(boundary + "\r\n");
    while (at >= 0) {
        const int begin = at + boundary.size() + 2;
        at = request.indexOf("\r\n" + boundary, begin);
        parts << request.mid(begin, at - begin);
        at = request.mid(at + 2 + boundary.size(), 2) == "\r\n" ? at + 2 : -1;
    }
    return parts;
}

static QByteArray part(const QByteArray& name, const QByteArray& content)
{
    return "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + content;
}

static QByteArray filePart(const QByteArray& fileName, const QByteArray& content)
{
    return "Content-Disposition: form-data; name=\"sendfile\"; filename=\"" + fileName
        + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + content;
}

/// Marks what passes through the hooks.
struct Hooked : HTTPCurl
{
    QByteArray& preProcess(QByteArray& data, bool base64) override
    {
        calls << (base64 ? "text" : "file");
        data.append(base64 ? "<text>" : "<file>");
        return data;
    }
    bool postProcess(QByteArray& response) override
    {
        calls << "reply";
        response.replace("plain", "processed");
        return accept;
    }
    QStringList calls;
    bool accept = true;
};

class HTTPCurlPostTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.path()); }

    void sendsParametersAsFields()
    {
        ScriptedServer server(ScriptedServer::replying(page("")));
        HttpQueryParameters parameters;
        parameters.addParamEncoded("first", "a b&c");
        parameters.addParam("nul", QString("a") + QChar(0) + "b");
        parameters.addParam(QString("key") + QChar(0) + "cut", "");
        parameters.addParam("line\r\nX-Injected: 1", "v");
        HTTPCurl client;
        QVERIFY(client.postHttp(server.url(), parameters));
        const QList<QByteArray> expected { part("first", "a b&c"), part("nul", QByteArray("a\0b", 3)),
            part("key", ""), part("line%0D%0AX-Injected: 1", "v") };
        QCOMPARE(partsOf(server.requests().last()), expected);

        QVERIFY(client.postHttp(server.url(), HttpQueryParameters()));
        QVERIFY(server.requests().last().startsWith("POST ")
            && server.requests().last().contains("Content-Length: 0"));
    }

    void sendsJsonAndFile_data()
    {
        QTest::addColumn<QJsonObject>("json");
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("binary");
        QTest::addColumn<QList<QByteArray>>("others"); // without data_json
        const QByteArray bytes("\0\r\n--\xff", 6);
        QTest::newRow("JSON alone") << QJsonObject() << QByteArray() << false
                                    << QList<QByteArray> { part("submit", "send") };
        QTest::newRow("with a file") << QJsonObject { { "a", 1 } } << bytes << false
                                     << QList<QByteArray> { filePart("uploadedFile", bytes + "<file>"),
                                            part("submit", "send") };
        QTest::newRow("a named file and a binary reply")
            << QJsonObject { { "#file_name#", QString::fromUtf8("é.bin") } } << bytes << true
            << QList<QByteArray> { filePart("é.bin", bytes + "<file>"), part("part_result_as_binary", "1"),
                   part("submit", "send") };
        QTest::newRow("a name of the wrong type")
            << QJsonObject { { "#file_name#", 1 } } << bytes << false
            << QList<QByteArray> { filePart("", bytes + "<file>"), part("submit", "send") };
    }
    void sendsJsonAndFile()
    {
        QFETCH(QJsonObject, json);
        QFETCH(QByteArray, file);
        QFETCH(bool, binary);
        ScriptedServer server(ScriptedServer::replying(page("plain")));
        Hooked client;
        QVERIFY(client.postForm(server.url(), json, file, binary));
        QCOMPARE(client.calls, QStringList({ "file", "text", "reply" }));
        QCOMPARE(client.response(), QByteArray("processed"));
        QCOMPARE(client.isBinaryMode(), binary);
        QCOMPARE(client.lastJsonSent(), QJsonDocument(json));
        QList<QByteArray> parts = partsOf(server.requests().last());
        QCOMPARE(
            parts.takeAt(file.isEmpty() ? 0 : 1), part("data_json", QJsonDocument(json).toJson() + "<text>"));
        QTEST(parts, "others");
    }

    void splitsBinaryReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("binary");
        const QByteArray separator = HTTPCurl::SEPARATOR_BINARY;
        QTest::newRow("none") << QByteArray("{}") << QByteArray("{}") << QByteArray();
        QTest::newRow("at the first")
            << "{}" + separator + "b" + separator << QByteArray("{}") << "b" + separator;
        QTest::newRow("at the end") << "{}" + separator << QByteArray("{}") << QByteArray();
        QTest::newRow("at the start") << separator + "b" << QByteArray("") << QByteArray("b");
        QTest::newRow("an empty reply") << QByteArray() << QByteArray() << QByteArray();
    }
    void splitsBinaryReplies()
    {
        QFETCH(QByteArray, body);
        ScriptedServer server(ScriptedServer::replying(page(body)));
        HTTPCurl client;
        QVERIFY(client.postForm(server.url(), QJsonObject(), QByteArray(), true));
        QTEST(client.response(), "text");
        QTEST(client.binaryResponse(), "binary");
        QVERIFY(client.postForm(server.url(), QJsonObject()));
        QCOMPARE(client.response(), body);
        QVERIFY(client.binaryResponse().isEmpty());
    }

    void failuresAreMapped()
    {
        HTTPCurl client;
        QVERIFY(!client.postForm(QString(), QJsonObject(), "file", false));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::EMPTY_URL));
        ScriptedServer missing(ScriptedServer::replying("HTTP/1.1 404 No\r\nContent-Length: 2\r\n\r\nno"));
        QVERIFY(!client.postForm(missing.url(), QJsonObject()));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::NOT_FOUND_4XX));

        ScriptedServer server(ScriptedServer::replying(page("plain")));
        client.setLimitDownload(2);
        QVERIFY(!client.postForm(server.url(), QJsonObject()));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK));

        Hooked refusing;
        refusing.accept = false;
        QVERIFY(!refusing.postForm(server.url(), QJsonObject(), QByteArray(), true));
        QVERIFY(!refusing.hasError());
    }

private:
    QTemporaryDir mFolder;
};

QTEST_GUILESS_MAIN(HTTPCurlPostTest)
#include "HTTPCurlPostTest.moc"
