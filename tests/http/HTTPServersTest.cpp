#include "RealServers.h"
#include "TestProgram.h"

#include <tavrel/FileDownloader.h>
#include <tavrel/HTTPCurl.h>

class HTTPServersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { HTTPCurl::setCookiepath(mFolder.path()); }

    void nginxServesRedirectsSetsCookiesAndLoops()
    {
        const QByteArray content = QByteArray("0123456789abcdef\r\n\0", 19).repeated(1 << 20);
        QVERIFY(FileUtils::writeFileContent(mServers.served("large"), content));
        HTTPCurl client;
        QByteArray data;
        for (QString url : { mServers.http("/moved/large"), mServers.https("/moved/large") }) {
            QVERIFY(client.getData(url, data));
            QCOMPARE(data, content);
            QCOMPARE(client.redirectedURL(), url.remove("/moved"));
        }
        QVERIFY(client.getFile(mServers.https("/large"), mFolder.filePath("large")));
        QVERIFY(FileUtils::readFileContent(mFolder.filePath("large")) == content);
        QVERIFY(client.getData(mServers.http("/cookie/set"), data));
        QVERIFY(HTTPCurl().getData(mServers.http("/cookie/show"), data));
        QCOMPARE(data, QByteArray("k=v"));
        QVERIFY(!client.getData(mServers.http("/loop"), data));
        QCOMPARE(client.error(), ErrorableCode::of(CURLE_TOO_MANY_REDIRECTS));
    }

    void nginxServesTheRestOfADownload_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("changes");
        QTest::addColumn<int>("status");
        QTest::newRow("by ETag") << "/etag/" << false << 206;
        QTest::newRow("by date") << "/no-etag/" << false << 206;
        QTest::newRow("changed") << "/etag/" << true << 200;
        QTest::newRow("changed, by date") << "/no-etag/" << true << 200;
        QTest::newRow("without ranges") << "/no-ranges/" << false << 200;
    }
    void nginxServesTheRestOfADownload()
    {
        QFETCH(QString, folder);
        QFETCH(bool, changes);
        const QString url = mServers.http(folder + "resumed");
        QTemporaryDir target;
        serve("old", 60);
        FileDownloader downloader;
        downloader.setResumable(true);
        bool isInterrupted = false;
        const auto interruptOnce = [&](double percent) {
            if (!isInterrupted && percent > 0.0) {
                isInterrupted = true;
                downloader.requestInterruption();
            }
        };
        connect(&downloader, &FileDownloader::progress, this, interruptOnce, Qt::DirectConnection);
        downloader.download(url, target.filePath("file"));
        downloader.wait();
        QVERIFY(!downloader.error().isEmpty());
        QCOMPARE(QDir(target.path()).entryList(QDir::Files), QStringList({ "file.part", "file.part.info" }));
        const QByteArray content = serve(changes ? "new" : "old", changes ? 30 : 60);
        downloader.download(url, target.filePath("file"));
        downloader.wait();
        QCOMPARE(downloader.error(), QString());
        QVERIFY(FileUtils::readFileContent(target.filePath("file")) == content);
        QTEST(int(downloader.client().HTTPResponseCode()), "status");
        QCOMPARE(QDir(target.path()).entryList(QDir::Files), QStringList("file"));
    }

    void phpParsesAForm()
    {
        QJsonObject json { { "#file_name#", "photo.png" } };
        for (int i = 0; i < 10000; ++i) {
            json.insert(QString("member %1").arg(i), "é\n\"%1%2");
        }
        const QByteArray file = QByteArray("\0\r\n--", 5).repeated(300000);
        const QByteArray digest = QCryptographicHash::hash(file, QCryptographicHash::Sha256).toHex();
        HTTPCurl client;
        QVERIFY(client.postForm(mServers.php(), json, file, true));
        const QJsonObject reply = QJsonDocument::fromJson(client.response()).object();
        const QByteArray text = reply["form"].toObject()["data_json"].toString().toUtf8();
        QCOMPARE(QJsonDocument::fromJson(text).object(), json);
        const QJsonObject received = reply["files"].toObject()["sendfile"].toObject();
        QCOMPARE(received["name"].toString(), QString("photo.png"));
        QCOMPARE(received["sha256"].toString(), QString(digest));
        QCOMPARE(client.binaryResponse(), QByteArray("\0\1binary\xff", 9));
    }

private:
    /// Serves 12 MiB under the name "resumed", as a file that was modified some seconds ago.
    QByteArray serve(const QByteArray& text, int age) const
    {
        QByteArray content = text.repeated(4 << 20);
        QFile file(mServers.served("resumed"));
        file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
        file.write(content);
        file.setFileTime(mStart.addSecs(-age), QFileDevice::FileModificationTime);
        return content;
    }

    const QDateTime mStart = QDateTime::currentDateTime();
    QTemporaryDir mFolder;
    RealServers mServers { { "nginx", "php" } };
};

QTEST_GUILESS_MAIN(HTTPServersTest)
#include "HTTPServersTest.moc"
