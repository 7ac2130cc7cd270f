#include "ScriptedServer.h"

#include <tavrel/FileDownloader.h>
#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

static const TavrelInitializer initializer;

static QByteArray reply(int status)
{
    return "HTTP/1.1 " + QByteArray::number(status) + " x\r\nContent-Length: 4\r\n\r\npage";
}

class FileDownloaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mFolder = std::make_unique<QTemporaryDir>();
        HTTPCurl::setCookiepath(mFolder->filePath("cookies"));
    }

    void publishesOnlyCompleteFiles_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("error"); // empty: success
        QTest::addColumn<QStringList>("filesLeft");
        QTest::newRow("found") << reply(200) << QStringList() << "" << QStringList { "page" };
        QTest::newRow("missing") << reply(404) << QStringList() << "Resource not found" << QStringList();
        QTest::newRow("missing, the old file stays")
            << reply(404) << QStringList { "page" } << "Resource not found" << QStringList { "page" };
        QTest::newRow("cut short") << reply(200).chopped(1) << QStringList() << "Transferred a partial file"
                                   << QStringList();
        QTest::newRow("a stale part goes first")
            << reply(404) << QStringList { "page.part" } << "Resource not found" << QStringList();
        QTest::newRow("an existing file is not replaced")
            << reply(200) << QStringList { "page" } << "" << QStringList { "page", "page.part" };
    }
    void publishesOnlyCompleteFiles()
    {
        QFETCH(QByteArray, sent);
        QFETCH(QStringList, before);
        QFETCH(QString, error);
        for (const QString& name : before) {
            QVERIFY(FileUtils::writeFileContent(path(name), "old"));
        }
        ScriptedServer server(ScriptedServer::replying(sent));
        FileDownloader downloader;
        QCOMPARE(finished(downloader, server.url(), path("page")), error.isEmpty());
        QCOMPARE(downloader.error(), error);
        const QStringList left = QDir(mFolder->path()).entryList({ "page*" }, QDir::Files, QDir::Name);
        QTEST(left, "filesLeft");
        if (!left.isEmpty()) {
            QCOMPARE(FileUtils::readFileContent(path("page")), QByteArray(before.isEmpty() ? "page" : "old"));
        }
    }

    void failsWithAReason()
    {
        ScriptedServer server(ScriptedServer::replying(reply(200)));
        FileDownloader downloader;
        QVERIFY(QDir().mkpath(path("page.part/x")));
        QVERIFY(!finished(downloader, server.url(), path("page")));
        QCOMPARE(downloader.error(), "Unable to remove " + path("page.part"));
        QVERIFY(!finished(downloader, server.url(), path("vanished/page")));
        QCOMPARE(downloader.error(), QString("GET_CANT_WRITE_DEVICE"));
    }

    void endsWhenInterruptedOrDestroyed_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("interrupted at once") << 0;
        QTest::newRow("destroyed") << 1;
        QTest::newRow("destroyed by its parent") << 2;
        QTest::newRow("destroyed while a slot starts it again and again") << 3;
    }
    void endsWhenInterruptedOrDestroyed()
    {
        QFETCH(int, way);
        ScriptedServer silent([](ScriptedServer::Connection& connection) { connection.waitForClose(); });
        auto parent = std::make_unique<QObject>();
        auto* downloader = new FileDownloader(parent.get());
        std::atomic<int> failures { 0 };
        const auto count = [&](bool success) { failures += success ? 0 : 1; };
        connect(downloader, &FileDownloader::done, downloader, count, Qt::DirectConnection);
        if (way == 3) {
            connect(
                downloader, &FileDownloader::done, downloader,
                [&] { downloader->download(silent.url(), path("p")); }, Qt::DirectConnection);
        }
        downloader->download(silent.url(), path("page"));
        if (way == 0) {
            downloader->requestInterruption();
            QVERIFY(downloader->wait(5000));
        } else {
            silent.waitForConnections(1);
        }
        if (way == 1) {
            delete downloader;
        }
        parent.reset();
        QCOMPARE(failures.load(), 1);
        QVERIFY(!QFile::exists(path("page.part")));
    }

    void isStartedAgainFromItsOwnSignal_data()
    {
        QTest::addColumn<int>("connection");
        QTest::newRow("direct") << int(Qt::DirectConnection);
        QTest::newRow("queued") << int(Qt::QueuedConnection);
        QTest::newRow("blocking") << int(Qt::BlockingQueuedConnection);
    }
    void isStartedAgainFromItsOwnSignal()
    {
        QFETCH(int, connection);
        ScriptedServer server(ScriptedServer::replying(reply(200)));
        FileDownloader downloader;
        std::atomic<int> successes { 0 };
        connect(
            &downloader, &FileDownloader::done, this,
            [&](bool success) {
                if (success && ++successes < 20) {
                    downloader.download(server.url(), path(QString("page%1").arg(successes)));
                }
            },
            static_cast<Qt::ConnectionType>(connection));
        downloader.download(server.url(), path("page0"));
        QTRY_COMPARE(successes.load(), 20);
        QCOMPARE(QDir(mFolder->path()).entryList({ "page*" }, QDir::Files).size(), 20);
    }

    void twoMayFailAtTheSameMoment()
    {
        ScriptedServer server(ScriptedServer::replying(reply(404)));
        for (int round = 0; round < 200; ++round) {
            FileDownloader one;
            FileDownloader two;
            one.download(server.url(), path("one"));
            two.download(server.url(), path("two"));
            QVERIFY(one.wait(5000) && two.wait(5000));
            QCOMPARE(one.error(), QString("Resource not found"));
            QCOMPARE(two.error(), QString("Resource not found"));
        }
    }

private:
    QString path(const QString& name) const { return mFolder->filePath(name); }

    static bool finished(FileDownloader& downloader, const QString& url, const QString& path)
    {
        std::atomic<int> successes { 0 };
        std::atomic<int> runs { 0 };
        const auto count = [&](bool success) {
            ++runs;
            successes += success ? 1 : 0;
        };
        const auto counting
            = connect(&downloader, &FileDownloader::done, &downloader, count, Qt::DirectConnection);
        downloader.download(url, path);
        downloader.wait();
        disconnect(counting);
        return runs == 1 && successes == 1;
    }

    std::unique_ptr<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(FileDownloaderTest)
#include "FileDownloaderTest.moc"
