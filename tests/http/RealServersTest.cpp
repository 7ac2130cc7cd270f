#include "RealServers.h"

#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

static const TavrelInitializer initializer;

class RealServersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.path()); }

    void nginxServesLargeFilesThroughRedirections_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("HTTP") << mServers.http("/moved/large");
        QTest::newRow("HTTPS") << mServers.https("/moved/large");
    }
    void nginxServesLargeFilesThroughRedirections()
    {
        QFETCH(QString, url);
        QByteArray content;
        for (int i = 0; i < 20000; ++i) {
            content += QByteArray::number(i);
        }
        content = content.repeated(200);
        QVERIFY(FileUtils::writeFileContent(mServers.root() + "/large", content));
        HTTPCurl client;
        QByteArray data;
        QVERIFY(client.getData(url, data));
        QVERIFY(data == content);
        QCOMPARE(client.redirectedURL(), url.remove("/moved"));
    }

    void nginxSetsCookiesAndLoops()
    {
        HTTPCurl client;
        QByteArray data;
        QVERIFY(client.getData(mServers.http("/cookie/set"), data));
        QVERIFY(HTTPCurl().getData(mServers.http("/cookie/show"), data));
        QCOMPARE(data, QByteArray("k=v"));
        QVERIFY(!client.getData(mServers.http("/loop"), data));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_TOO_MANY_REDIRECTS));
        QVERIFY(!client.getData(mServers.http("/status/503"), data));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::SERVER_ERROR_5XX));
    }

    void phpParsesAForm()
    {
        QJsonObject json { { "#file_name#", "photo.png" } };
        for (int i = 0; i < 10000; ++i) {
            json.insert(QString("member %1").arg(i), QString::fromUtf8("é\n\"%1%2"));
        }
        const QByteArray file = QByteArray("\0\r\n--", 5).repeated(300000);
        HTTPCurl client;
        QVERIFY(client.postForm(mServers.php(), json, file, true));
        const QJsonObject reply = QJsonDocument::fromJson(client.response()).object();
        const QJsonObject form = reply.value("form").toObject();
        QCOMPARE(QJsonDocument::fromJson(form.value("data_json").toString().toUtf8()).object(), json);
        QCOMPARE(form.keys(), QStringList({ "data_json", "part_result_as_binary", "submit" }));
        const QJsonObject received = reply.value("files").toObject().value("sendfile").toObject();
        QCOMPARE(received.value("name").toString(), QString("photo.png"));
        QCOMPARE(received.value("sha256").toString().toUtf8(),
            QCryptographicHash::hash(file, QCryptographicHash::Sha256).toHex());
        QCOMPARE(client.binaryResponse(), QByteArray("\0\1binary\xff", 9));
    }

private:
    QTemporaryDir mFolder;
    RealServers mServers;
};

QTEST_GUILESS_MAIN(RealServersTest)
#include "RealServersTest.moc"
