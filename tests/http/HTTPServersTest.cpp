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
        QTest::addColumn<bool>("changes");
        QTest::addColumn<long>("status");
        for (const char* folder : { "etag", "no-etag" }) {
            QTest::addRow("%s, the same", folder) << false << 206L;
            QTest::addRow("%s, changed", folder) << true << 200L;
        }
        QTest::newRow("no-ranges,") << false << 200L;
    }
    void nginxServesTheRestOfADownload()
    {
        QFETCH(bool, changes);
        const QString url = mServers.http('/' + QString(QTest::currentDataTag()).section(',', 0, 0) + "/resumed");
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
        QVERIFY(!downloader.errorText().isEmpty());
        QCOMPARE(QDir(target.path()).entryList(QDir::Files), QStringList({ "file.part", "file.part.info" }));
        const QByteArray content = serve(changes ? "new" : "old", changes ? 30 : 60);
        downloader.download(url, target.filePath("file"));
        downloader.wait();
        QCOMPARE(downloader.errorText(), QString());
        QVERIFY(FileUtils::readFileContent(target.filePath("file")) == content);
        QTEST(downloader.client().HTTPResponseCode(), "status");
        QCOMPARE(QDir(target.path()).entryList(QDir::Files), QStringList("file"));
    }

private:
    /// Serves 12 MiB under the name "resumed", as a file that was modified some seconds ago.
    QByteArray serve(const QByteArray& text, int age) const
    {
        QByteArray content = text.repeated(4 << 20);
        QFile file(mServers.served("resumed"));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(content) != content.size()) {
            qFatal("%s", qPrintable(file.errorString()));
        }
        file.setFileTime(mStart.addSecs(-age), QFileDevice::FileModificationTime);
        return content;
    }

    const QDateTime mStart = QDateTime::currentDateTime();
    QTemporaryDir mFolder;
    RealServers mServers { { "nginx" } };
};

QTEST_GUILESS_MAIN(HTTPServersTest)
#include "HTTPServersTest.moc"
