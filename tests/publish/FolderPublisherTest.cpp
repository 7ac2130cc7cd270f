#include "FtpTarget.h"
#include "RealServers.h"

#include <tavrel/FolderPublisher.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

static const TavrelInitializer initializer;

/// Publishes with some settings; waits for the end.
static PublishReport published(
    const FTPSettings& target, const QString& folder, const std::function<void(FolderPublisher&)>& set = {})
{
    FolderPublisher publisher;
    publisher.setStallTimeOut(5);
    if (set) {
        set(publisher);
    }
    publisher.publish(target, folder);
    publisher.wait();
    return publisher.report();
}

static QString summary(const PublishReport& report)
{
    QStringList failed;
    for (const auto& failure : report.failed) {
        failed << failure.path;
    }
    return QString("%1 sent, %2 unchanged, %3 removed, failed: %4, %5 not tried")
        .arg(report.sent.size())
        .arg(report.unchanged.size())
        .arg(report.removed.size())
        .arg(failed.join(' '))
        .arg(report.notTried.size());
}

/// All but the tests of faults run over FTP, FTPS and SFTP.
class FolderPublisherTest : public QObject
{
    Q_OBJECT

    using Files = QMap<QString, QByteArray>;

    static Files read(const QString& folder)
    {
        Files files;
        QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QString path = walk.next();
            files[path.mid(folder.size() + 1)] = FileUtils::readFileContent(path);
        }
        return files;
    }
    QString local(const QString& path = "") const { return mHere->filePath("site" + path); }
    QString remote(const QString& path = "") const { return mDisk + path; }
    static void write(const QString& path, const QByteArray& content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QVERIFY(FileUtils::writeFileContent(path, content));
    }
    PublishReport publish(const std::function<void(FolderPublisher&)>& set = {}) const
    {
        return published(*mTarget, local(), set);
    }
    /// The site, without the record.
    Files site() const
    {
        Files files = read(mDisk);
        files.remove(".tavrel-site");
        return files;
    }

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("folder"); // on the disk
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("root");
        const auto row = [](const char* name, int protocol, const RealServers::Store& store) {
            QTest::newRow(name) << protocol << store.folder << int(store.port) << store.root;
        };
        row("FTP", FTPSettings::FTP, mServers.ftp());
        row("FTPS", FTPSettings::FTPS_EXPLICIT, mServers.strictFtp());
        row("SFTP with ProFTPD", FTPSettings::SFTP, mServers.proftpdSftp());
        if (mServers.openssh().port != 0) {
            row("SFTP with OpenSSH", FTPSettings::SFTP, mServers.openssh());
        }
    }

    void init()
    {
        QFETCH_GLOBAL(int, protocol);
        QFETCH_GLOBAL(QString, folder);
        QFETCH_GLOBAL(int, port);
        QFETCH_GLOBAL(QString, root);
        mDisk = folder + "/site";
        mTarget = std::make_unique<FtpTarget>(protocol, port, root + "/site");
        mHere = std::make_unique<QTemporaryDir>();
        for (int i = 0; i < 40; ++i) {
            write(local(QString("/d%1/f%2.html").arg(i % 3).arg(i)), QByteArray(i * 100, char('a' + i % 26)));
        }
        write(local("/index.html"), "hello");
        write(local("/a/b/c/large.bin"), QByteArray(3 << 20, 'x'));
        write(local(QString::fromUtf8("/10 €.txt")), "euro");
        QDir().mkpath(local("/empty"));
    }
    void cleanup() { QDir(mDisk).removeRecursively(); }

    void sendsWhatDiffers()
    {
        QCOMPARE(summary(publish()), QString("43 sent, 0 unchanged, 0 removed, failed: , 0 not tried"));
        QCOMPARE(site(), read(local()));
        QVERIFY(QDir(remote("/empty")).exists());
        QVERIFY(QDir().mkpath(local("/d0/empty")));
        QCOMPARE(summary(publish()), QString("0 sent, 43 unchanged, 0 removed, failed: , 0 not tried"));
        QVERIFY(QDir(remote("/d0/empty")).exists());
        write(local("/index.html"), "hallo");
        write(local("/a/b/c/large.bin"), "small");
        QVERIFY(QDir(remote("/a/b")).removeRecursively());
        write(local("/new/page.html"), "new");
        write(local("/d0/.hidden"), "hidden");
        write(local("/d0/cache.tmp"), "excluded");
        QVERIFY(QFile::link("nowhere", local("/.tavrelignore")));
        QVERIFY(publish().stopReason.startsWith(".tavrelignore: "));
        QFile::remove(local("/.tavrelignore"));
        write(local("/.tavrelignore"), "# comment\n*.tmp\n");
        QVERIFY(QFile::link("nowhere", local("/dangling")));
        QVERIFY(QFile::link(local("/d1"), local("/linked")));
        const std::string invalid = local("/").toStdString() + '\xe4';
        ::close(::open(invalid.c_str(), O_CREAT | O_WRONLY, 0600));
        const PublishReport report = publish([](FolderPublisher& publisher) {
            publisher.setHiddenFiles(false);
            QVERIFY(!publisher.setExcluded({ "" }));
            QVERIFY(publisher.setExcluded({ "d1/", "/d2/**", "!d2/f2.html" }));
            QVERIFY(!publisher.setConnections(9));
        });
        QCOMPARE(summary(report), QString("3 sent, 16 unchanged, 0 removed, failed: \ufffd, 0 not tried"));
        QCOMPARE(report.remarks.size(), 2);
        ::unlink(invalid.c_str());
        QCOMPARE(site().size(), 44);
    }

    void repairsAndRemoves()
    {
        publish();
        write(remote("/foreign.html"), "not ours");
        write(remote("/d0/foreign.html"), "not ours");
        write(remote("/d1/f1.html"), "replaced on the server");
        write(remote("/outside/f4.html"), QByteArray(400, char('a' + 4)));
        QDir(remote("/a")).rename("b", "elsewhere");
        QVERIFY(QFile::link("elsewhere", remote("/a/b")));
        QFile::remove(remote("/d0/f0.html"));
        QFile::remove(remote("/d0/f3.html"));
        QDir(local("/d2")).removeRecursively();
        QDir(local("/a")).removeRecursively();
        QFile::remove(local("/d1/f1.html"));
        QVERIFY(QFile::rename(local("/d0/f6.html"), local("/d0/F6.html"))); // the same file on some servers
        const auto remove = [](FolderPublisher& publisher) { publisher.setRemoveObsolete(true); };
        const PublishReport dry = publish([&](FolderPublisher& publisher) {
            remove(publisher);
            publisher.setDryRun(true);
        });
        QCOMPARE(summary(dry), QString("1 sent, 27 unchanged, 13 removed, failed: , 0 not tried"));
        const PublishReport report = publish([&](FolderPublisher& publisher) {
            remove(publisher);
            publisher.setCheckServer(true);
        });
        QCOMPARE(summary(report), QString("3 sent, 25 unchanged, 13 removed, failed: , 0 not tried"));
        Files expected = read(local());
        for (const char* name : { "foreign.html", "d0/foreign.html" }) {
            expected[name] = "not ours";
        }
        expected["d0/f6.html"] = expected["d0/F6.html"];
        expected["d1/f1.html"] = "replaced on the server";
        expected["outside/f4.html"] = QByteArray(400, char('a' + 4));
        expected["a/elsewhere/c/large.bin"] = QByteArray(3 << 20, 'x');
        QCOMPARE(site().keys(), expected.keys());
        QCOMPARE(site(), expected);
        QVERIFY(!QDir(remote("/d2")).exists());
    }

    void copesWithNeighboursAndChanges()
    {
        write(local("/two words/page"), "page");
        write(local("/name/file"), "was in a folder");
        write(local("/d0/other"), "was a file");
        publish();
        write(remote("/../precious"), "precious");
        QFile::setPermissions(remote("/../precious"), QFile::Permissions(0x6666));
        const QStringList planted { ".tavrel-site.new", ".tavrel-site.0123456789abcdef" };
        for (const QString& name : planted) {
            QVERIFY(QFile::link("../precious", remote('/' + name)));
        }
        write(remote("/d1/f1.html.0123abcd.part"), "left by a killed run");
        for (const char* folder : { "/a", "/two words" }) {
            QVERIFY(QDir(remote(folder)).removeRecursively());
        }
        QVERIFY(QDir(local("/name")).removeRecursively() && QFile::remove(local("/d0/other")));
        write(local("/name"), "is a file");
        write(local("/d0/other/deep/file"), "is in a folder");
        write(local("/d1/f1.html"), "changed");
        const PublishReport report = publish([](FolderPublisher& publisher) {
            publisher.setRemoveObsolete(true);
            publisher.setCheckServer(true);
            publisher.setUploadMode(FTPCurl::TemporaryName);
        });
        QCOMPARE(
            summary(report), QString("5 sent, 41 unchanged, 2 removed, failed: , 0 not tried") + report.stopReason);
        QCOMPARE(site(), read(local()));
        QCOMPARE(FileUtils::readFileContent(remote("/../precious")), QByteArray("precious"));
    }

    void stopsAtOnce()
    {
        write(local("/large"), QByteArray(64 << 20, 'x'));
        FolderPublisher publisher;
        QElapsedTimer time;
        connect(
            &publisher, &FolderPublisher::progress, this,
            [&](const PublishProgress& progress) {
                if (progress.bytes > (8 << 20) && !time.isValid()) {
                    time.start();
                    publisher.requestInterruption();
                }
            },
            Qt::DirectConnection);
        publisher.publish(*mTarget, local());
        QVERIFY(!publisher.publish(*mTarget, local()));
        publisher.wait();
        QVERIFY2(time.elapsed() < 300, qPrintable(QString::number(time.elapsed())));
        QVERIFY(publisher.report().wasInterrupted);
        QVERIFY(publisher.report().incomplete.contains("large"));
        // A file that changes while it is sent.
        QFile file(local("/large"));
        QVERIFY(file.open(QIODevice::Append));
        connect(
            &publisher, &FolderPublisher::progress, this, [&] { file.write("more"), file.flush(); },
            Qt::DirectConnection);
        time.start();
        publisher.publish(*mTarget, local());
        publisher.wait();
        QCOMPARE(publisher.report().failed.value(0).reason, QString("it changed while it was sent"));
        publisher.disconnect();
        publisher.publish(*mTarget, local());
        publisher.wait();
        QVERIFY(publisher.report().isSuccess());
        QCOMPARE(site(), read(local()));
    }

    void futureEndsLikeDone()
    {
        auto publisher = std::make_unique<FolderPublisher>();
        QList<bool> ends;
        connect(
            publisher.get(), &FolderPublisher::done, this, [&](bool end) { ends << end; }, Qt::DirectConnection);
        QFuture<bool> future = publisher->publishAsync(*mTarget, local());
        QVERIFY(!publisher->publishAsync(*mTarget, local()).result());
        QVERIFY(future.result());
        QCOMPARE(future.progressValue(), 43);
        QVERIFY(!publisher->publishAsync(*mTarget, local("/missing")).result());
        write(local("/large"), QByteArray(64 << 20, 'x'));
        future = publisher->publishAsync(*mTarget, local());
        QTRY_COMPARE(future.progressMaximum(), 1);
        QElapsedTimer time;
        time.start();
        future.cancel();
        QVERIFY(!future.result());
        QVERIFY2(time.elapsed() < 300, qPrintable(QString::number(time.elapsed())));
        QVERIFY(publisher->report().wasInterrupted);
        future = publisher->publishAsync(*mTarget, local());
        publisher.reset();
        QVERIFY(!future.result());
        QCOMPARE(ends, QList<bool>({ true, false, false, false }));
    }

    void survivesKill()
    {
        QVERIFY(publish().isSuccess());
        QElapsedTimer time;
        auto* const random = QRandomGenerator::global();
        int length = 400;
        for (int i = 0; i < KILLS; ++i) {
            for (int k = 0; k < 6; ++k) {
                const QString path = QString("/d%1/f%2.html").arg(random->bounded(4)).arg(random->bounded(40));
                write(local(path), QByteArray(random->bounded(100000), char('a' + random->bounded(26))));
            }
            QFile::remove(local(QString("/d%1/f%2.html").arg(random->bounded(4)).arg(random->bounded(40))));
            QProcess process;
            process.start(QCoreApplication::applicationFilePath(),
                { "--publish", QString::number(mTarget->ftpProtocol()), QString::number(mTarget->port()),
                    mTarget->ftpFolder(), local() });
            QVERIFY(process.waitForStarted());
            process.waitForFinished(random->bounded(length));
            process.kill();
            process.waitForFinished();
            time.start();
            const PublishReport report = publish([](FolderPublisher& publisher) { publisher.setRemoveObsolete(true); });
            length = int(time.elapsed()) + 100;
            QVERIFY2(report.isSuccess(), qPrintable(summary(report) + report.stopReason));
            const Files expected = read(local());
            const Files found = site();
            for (auto file = expected.begin(); file != expected.end(); ++file) {
                QVERIFY2(found.value(file.key(), "missing") == *file, qPrintable(file.key()));
            }
        }
    }

private:
    RealServers mServers { { "proftpd", "openssh" } };
    QString mDisk;
    std::unique_ptr<FtpTarget> mTarget;
    std::unique_ptr<QTemporaryDir> mHere;
};

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--publish") {
        const FtpTarget target(arguments[2].toInt(), arguments[3].toInt(), arguments[4]);
        return published(target, arguments[5], [](FolderPublisher& publisher) { publisher.setRemoveObsolete(true); })
                   .isSuccess()
            ? 0
            : 1;
    }
    FolderPublisherTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FolderPublisherTest.moc"
