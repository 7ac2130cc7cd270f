#include "ScriptedServer.h"
#include "TestProgram.h"

#include <tavrel/FileDownloader.h>
#include <tavrel/HTTPCurl.h>

static const QByteArray FOUND = "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nnew";
static const QByteArray WHOLE = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nabcdef";
static FileDownloader* sDownloader;
static const QByteArray MISSING = "HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n";

class FileDownloaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mFolder = std::make_unique<QTemporaryDir>();
        HTTPCurl::setCookiepath(path("cookies"));
    }

    void replacesNoFile()
    {
        for (const bool isFound : { true, false }) {
            QVERIFY(FileUtils::writeFileContent(path("page"), "old"));
            QVERIFY(FileUtils::writeFileContent(path("page.part"), "old"));
            const ScriptedServer server(ScriptedServer::replying(isFound ? FOUND : MISSING));
            FileDownloader downloader;
            const QString error = isFound ? "" : "Resource not found";
            QCOMPARE(errorOf(downloader, server.url(), path("page")), error);
            QCOMPARE(FileUtils::readFileContent(path("page")), QByteArray("old"));
            QCOMPARE(FileUtils::readFileContent(path("page.part")), QByteArray(isFound ? "new" : ""));
            QCOMPARE(QFile::exists(path("page.part")), isFound);
        }
    }

    void continuesOnlyTheSameBytes_data()
    {
        QTest::addColumn<QByteArray>("first"); // its head; the connection is cut after three bytes
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<int>("requests");
        const QByteArray etag = "ETag: \"1\"\r\n";
        const QByteArray dates = "Date: Mon, 02 Jan 2023 00:00:01 GMT\r\nLast-Modified: Mon, 02 Jan 2023 00:00:0";
        const auto rest = [](const QByteArray& range, const QByteArray& more) {
            return "HTTP/1.1 206 Rest\r\nContent-Length: 3\r\nContent-Range: bytes " + range + "/6\r\n" + more
                + "\r\ndef";
        };
        QTest::newRow("the rest") << etag << rest("3-5", etag) << 2;
        QTest::newRow("the rest by date") << dates + "0 GMT\r\n" << rest("3-5", "") << 2;
        QTest::newRow("too new a date") << dates + "1 GMT\r\n" << WHOLE << 2;
        QTest::newRow("a weak ETag") << QByteArray("ETag: W/\"1\"\r\n") << WHOLE << 2;
        QTest::newRow("the whole") << etag << WHOLE << 2;
        QTest::newRow("other bytes") << etag << rest("2-4", etag) << 3;
        QTest::newRow("another version") << etag << rest("3-5", "ETag: \"2\"\r\n") << 3;
        QTest::newRow("no such range") << etag << QByteArray("HTTP/1.1 416 No\r\nContent-Length: 0\r\n\r\n") << 3;
        QTest::newRow("a redirection as large as the limit")
            << etag << QByteArray("HTTP/1.1 302 Moved\r\nLocation: /\r\nContent-Length: 6\r\n\r\nbefore") << 3;
        QTest::newRow("a name that leaves no room for a record") << etag << WHOLE << 2;
    }
    void continuesOnlyTheSameBytes()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QList<QByteArray> replies { "HTTP/1.1 200 OK\r\nContent-Length: 6\r\n" + first + "\r\nabc", second, WHOLE };
        ScriptedServer server([&](ScriptedServer& self, QTcpSocket& socket) {
            ScriptedServer::replying(replies.takeFirst())(self, socket);
        });
        FileDownloader downloader;
        downloader.setResumable(true);
        downloader.client().setLimitDownload(6);
        const QString name = QString(QTest::currentDataTag()).startsWith("a name") ? QString(250, 'x') : "page";
        const QString urlWithUser = QString(server.url()).replace("://", "://user:pass@");
        QCOMPARE(errorOf(downloader, urlWithUser, path(name)), QString("Transferred a partial file"));
        QCOMPARE(FileUtils::readFileContent(path(name + ".part")), QByteArray("abc"));
        QCOMPARE(errorOf(downloader, server.url(), path(name)), QString());
        QCOMPARE(FileUtils::readFileContent(path(name)), QByteArray("abcdef"));
        QCOMPARE(QDir(mFolder->path()).entryList(QDir::Files), QStringList(name));
        QTEST(int(server.requests().size()), "requests");
        const bool asksForTheRest = server.requests().at(1).contains("\r\nRange: bytes=3-\r\n");
        QCOMPARE(server.requests().at(1).contains("\r\nIf-Range: "), asksForTheRest);
        QCOMPARE(asksForTheRest, second != WHOLE || QByteArray(QTest::currentDataTag()) == "the whole");
    }

    void doesNotContinueWhatAnotherRequestWrote()
    {
        const QByteArray cut = "HTTP/1.1 200 OK\r\nContent-Length: 6\r\nETag: \"1\"\r\n\r\nabc";
        const QByteArray choices = "HTTP/1.1 300 Choices\r\nContent-Length: 3\r\n\r\nxyz";
        QList<QByteArray> replies { cut, choices, WHOLE, cut, choices, WHOLE };
        ScriptedServer server([&](ScriptedServer& self, QTcpSocket& socket) {
            ScriptedServer::replying(replies.takeFirst())(self, socket);
        });
        HTTPCurl client;
        for (const auto& request : { &HTTPCurl::getFile, &HTTPCurl::resumeFile }) {
            QVERIFY(!client.resumeFile(server.url(), path("page")));
            QVERIFY((client.*request)(server.url() + "other", path("page")));
            QVERIFY(client.resumeFile(server.url(), path("page")));
            QVERIFY(!server.requests().last().contains("Range:"));
            QCOMPARE(FileUtils::readFileContent(path("page")), QByteArray("abcdef"));
        }
    }

    void writesThroughNoLinks()
    {
        const QByteArray head = "HTTP/1.1 200 OK\r\nETag: \"1\"\r\nContent-Length: ";
        for (const bool isResumable : { false, true }) {
            for (const QString name : { "page", "page.part", "page.part.info" }) {
                for (const QString target : { "valued", "missing" }) {
                    init();
                    QVERIFY(FileUtils::writeFileContent(path("valued"), "old"));
                    QVERIFY(QFile::link(path(target), path(name)));
                    const ScriptedServer server(ScriptedServer::replying(head + "4\r\n\r\nnew")); // cut
                    const ScriptedServer whole(ScriptedServer::replying(head + "3\r\n\r\nnew"));
                    FileDownloader downloader;
                    downloader.setResumable(isResumable);
                    downloader.download(server.url(), path("page"));
                    downloader.wait();
                    downloader.download(whole.url(), path("page"));
                    downloader.wait();
                    QCOMPARE(FileUtils::readFileContent(path("valued")), QByteArray("old"));
                    QVERIFY(!QFile::exists(path("missing")));
                }
            }
        }
    }

    void failsWithAReason()
    {
        FileDownloader downloader;
        QVERIFY(QDir().mkpath(path("page.part/x")));
        QCOMPARE(errorOf(downloader, "http://127.0.0.1:1", path("page")), "Unable to remove " + path("page.part"));
        QCOMPARE(errorOf(downloader, "http://127.0.0.1:1", path("no/page")), QString("GET_CANT_WRITE_DEVICE"));
        QCOMPARE(downloader.error(), QString()); // The client has no text for it.
        const ScriptedServer missing(ScriptedServer::replying(MISSING));
        const ScriptedServer server(ScriptedServer::replying(FOUND));
        QCOMPARE(errorOf(downloader, missing.url(), path("missing")), QString("Resource not found"));
        QCOMPARE(errorOf(downloader, server.url(), path("found")), QString());
        QCOMPARE(downloader.error(), QString("Resource not found")); // It stays until the next failure.
    }

    void endsWhenInterruptedOrDestroyed()
    {
        for (const char* way : { "interrupted at once", "destroyed by its parent", "while a slot starts it again" }) {
            ScriptedServer silent(ScriptedServer::silentAfter(""));
            auto parent = std::make_unique<QObject>();
            sDownloader = new FileDownloader(parent.get());
            std::atomic<int> failures { 0 };
            const auto onDone = [&](bool success) {
                failures += success ? 0 : 1;
                if (*way == 'w') {
                    sDownloader->download(silent.url(), path("other"));
                }
            };
            connect(sDownloader, &FileDownloader::done, sDownloader, onDone, Qt::DirectConnection);
            sDownloader->download(silent.url(), path("page"));
            // A handler of the warning may ask the downloader.
            const auto askingHandler
                = [](QtMsgType, const QMessageLogContext&, const QString&) { sDownloader->error(); };
            const QtMessageHandler usualHandler = qInstallMessageHandler(askingHandler);
            sDownloader->download(silent.url(), path("refused while one is running"));
            qInstallMessageHandler(usualHandler);
            if (*way == 'i') {
                static_cast<QThread*>(sDownloader)->requestInterruption();
                QVERIFY(sDownloader->wait(5000));
                // The next download starts afresh.
                QCOMPARE(errorOf(*sDownloader, "http://127.0.0.1:1", path("page")),
                    QString(curl_easy_strerror(CURLE_COULDNT_CONNECT)));
                --failures;
            } else {
                QTRY_VERIFY(!silent.requests().isEmpty());
            }
            parent.reset();
            QCOMPARE(failures.load(), 1);
            QCOMPARE(QDir(mFolder->path()).entryList(QDir::Files).filter(".part"), QStringList());
        }
    }

    void futureEndsLikeDone_data()
    {
        QTest::addColumn<QByteArray>("reply"); // none: the server is silent
        QTest::addColumn<bool>("success");
        QTest::newRow("found") << FOUND << true;
        QTest::newRow("missing") << MISSING << false;
        QTest::newRow("canceled") << QByteArray() << false;
        QTest::newRow("interrupted") << QByteArray() << false;
        QTest::newRow("destroyed") << QByteArray() << false;
    }
    void futureEndsLikeDone()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, success);
        const QByteArray way = QTest::currentDataTag();
        ScriptedServer server(reply.isEmpty() ? ScriptedServer::silentAfter("") : ScriptedServer::replying(reply));
        auto downloader = std::make_unique<FileDownloader>();
        QList<bool> ends;
        connect(
            downloader.get(), &FileDownloader::done, this, [&](bool end) { ends << end; }, Qt::DirectConnection);
        QFuture<bool> future = downloader->downloadAsync(server.url(), path("page"));
        if (reply.isEmpty()) {
            QVERIFY(!downloader->downloadAsync(server.url(), path("refused while one is running")).result());
            QVERIFY(!future.isFinished());
        }
        if (way == "canceled") {
            future.cancel();
        } else if (way == "interrupted") {
            downloader->requestInterruption();
        } else if (way == "destroyed") {
            downloader.reset();
        }
        QTRY_VERIFY(future.isFinished());
        QCOMPARE(future.result(), success);
        QCOMPARE(future.progressValue(), success ? 100 : 0);
        if (downloader) {
            // A cancellation ends with its download.
            QVERIFY(!downloader->downloadAsync("http://127.0.0.1:1", path("other")).result());
            QCOMPARE(downloader->error(), QString(curl_easy_strerror(CURLE_COULDNT_CONNECT)));
            downloader.reset();
            QCOMPARE(ends.takeLast(), false);
        }
        QCOMPARE(ends, QList<bool> { success });
    }

    void isStartedAgainFromASlot()
    {
        const ScriptedServer server(ScriptedServer::replying(FOUND));
        for (const auto type :
            { Qt::AutoConnection, Qt::DirectConnection, Qt::QueuedConnection, Qt::BlockingQueuedConnection }) {
            const QString name = path(QString("%1-%2").arg(type));
            std::atomic<int> successes { 0 };
            FileDownloader downloader;
            const auto again = [&] {
                const int now = successes + (downloader.errorText().isEmpty() ? 1 : 0);
                if (now < 20) {
                    downloader.download(server.url(), name.arg(now));
                }
                successes = now; // last, as the test may end then
            };
            type == Qt::AutoConnection ? connect(&downloader, &QThread::finished, this, again, Qt::DirectConnection)
                                       : connect(&downloader, &FileDownloader::done, this, again, type);
            downloader.download(server.url(), name.arg(0));
            static_cast<QThread&>(downloader).requestInterruption(); // ends the first download only
            QTRY_COMPARE(successes.load(), 20);
        }
        QCOMPARE(QDir(mFolder->path()).entryList({ "*-*" }, QDir::Files).size(), 80);
    }

private:
    QString path(const QString& name) const { return mFolder->filePath(name); }

    static QString errorOf(FileDownloader& downloader, const QString& url, const QString& path)
    {
        downloader.download(url, path);
        downloader.wait();
        return downloader.errorText();
    }

    std::unique_ptr<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(FileDownloaderTest)
#include "FileDownloaderTest.moc"
