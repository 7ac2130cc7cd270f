#include "FtpTarget.h"
#include "ScriptedFtpServer.h"

#include <FetchTask.h>
#include <PublishTask.h>
#include <RemoteTasks.h>
#include <Report.h>

#include <tavrel/FTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

static const TavrelInitializer initializer;

/// A task that has been run on a scripted server, and what it told.
struct Run
{
    Run(Task& task, const ScriptedFtpServer& server)
        : report(task.done(), [this](const QString& line) { lines << line; })
    {
        FTPCurl client;
        client.initHost(FtpTarget(FTPSettings::FTP, server.port(), "www"));
        curl_easy_setopt(client.curlhandle(), CURLOPT_SERVER_RESPONSE_TIMEOUT, 1L);
        task.run(client, report);
    }
    QString told() const { return lines.join('\n') + report.summary().join('\n'); }

    QStringList lines;
    Report report;
};

static QByteArray listed(const QByteArrayList& names)
{
    QByteArray listing;
    for (const QByteArray& name : names) {
        const bool isFolder = name.endsWith("|d");
        listing += (isFolder ? "drwxr-xr-x" : name.contains(" -> ") ? "lrwxrwxrwx" : "-rw-r--r--");
        listing += " 1 anna users 7 Jan 01 2020 " + (isFolder ? name.chopped(2) : name) + "\r\n";
    }
    return listing;
}

class PublishTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> mHere;

    QString path(const QString& name) const { return mHere->filePath(name); }
    void write(const QString& name, const QByteArray& content = "old") const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QVERIFY(FileUtils::writeFileContent(path(name), content));
    }
    QByteArray content(const QString& name) const { return FileUtils::readFileContent(path(name)); }
    QStringList names(const QString& folder) const
    {
        return QDir(path(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    PublishTask publication(const QString& folder) const
    {
        LocalSite site;
        site.read(path(folder));
        return PublishTask(site);
    }

private Q_SLOTS:
    void init() { mHere = std::make_unique<QTemporaryDir>(); }

    void aFetchWritesNothingOutsideItsFolder()
    {
        write("precious", "mine");
        write("elsewhere/file", "mine");
        QDir().mkpath(path("deep/back"));
        QVERIFY(QFile::link(path("elsewhere"), path("deep/back/linked")));
        QVERIFY(QFile::link(path("precious"), path("deep/back/replaced")));
        const QByteArray outside = QFile::encodeName(path("absolute"));
        FtpPlay play;
        play.content = "HOSTILE";
        play.listing = [&outside](const QByteArray& directory) {
            return directory == "www" ? listed({ "..", "../precious", "../../precious", outside, outside + "|d",
                       "a/../b", "..|d", "../up|d", "x/../..|d", "linked|d", "replaced", "good", "..good" })
                                      : listed({ "file" });
        };
        const ScriptedFtpServer server(play);
        FetchFolder folder(path("deep/back"));
        QVERIFY(folder.open());
        FetchTask task(std::move(folder), QString());
        const Run run(task, server);
        // Those that lead nowhere but upwards are left out of a listing before.
        QCOMPARE(run.lines.filter("refused, no plain name").size(), 6);
        QVERIFY(run.told().contains("linked/: a symbolic link here"));
        QVERIFY(content("precious") == "mine" && content("elsewhere/file") == "mine");
        QCOMPARE(names("."), QStringList({ "deep", "elsewhere", "precious" }));
        QCOMPARE(names("deep"), QStringList("back"));
        QVERIFY(content("deep/back/good") == "HOSTILE" && content("deep/back/..good") == "HOSTILE");
        QVERIFY(content("deep/back/replaced") == "HOSTILE" && !QFileInfo(path("deep/back/replaced")).isSymLink());
    }

    void aFetchThatFailsKeepsTheOldFile()
    {
        write("back/file");
        FtpPlay play;
        play.content = "half of it";
        play.replies = { { "after RETR", "426 broken" } };
        play.listing = [](const QByteArray&) { return listed({ "file" }); };
        const ScriptedFtpServer server(play);
        {
            FetchFolder folder(path("back"));
            QVERIFY(folder.open());
            FetchTask task(std::move(folder), QString());
            QVERIFY(Run(task, server).report.hasFailures());
        }
        QCOMPARE(content("back/file"), QByteArray("old"));
        QCOMPARE(names("back"), QStringList("file"));
    }

    void goesOnAsLongAsItMakesSense_data()
    {
        QTest::addColumn<QByteArray>("moment");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("isOnce");
        QTest::addColumn<int>("failures");
        const auto row = [](const char* name, const QByteArray& moment, const QByteArray& reply, bool isOnce,
                             int failures) { QTest::newRow(name) << moment << reply << isOnce << failures; };
        row("a refused file", "after STOR", "550 no", true, 1);
        row("every file refused", "STOR", "553 no", false, 6);
        row("a refused login", "PASS", "530 no", false, 1);
        row("a disk that is full", "after STOR", "552 full", false, 1);
        row("a server that falls silent", "STOR", FtpPlay::SILENCE, false, 1);
        row("a connection that breaks once", "after STOR", FtpPlay::DROP, true, 1);
        row("a connection that always breaks", "PASV", FtpPlay::DROP, false, 3);
    }
    void goesOnAsLongAsItMakesSense()
    {
        QFETCH(QByteArray, moment);
        QFETCH(QByteArray, reply);
        QFETCH(bool, isOnce);
        QFETCH(int, failures);
        for (int i = 1; i <= 6; ++i) {
            write(QString("site/%1").arg(i));
        }
        FtpPlay play;
        play.replies = { { moment, reply } };
        play.isDue = [isOnce, times = std::make_shared<int>(0)] { return (*times)++ == 0 || !isOnce; };
        const ScriptedFtpServer server(play);
        PublishTask task = publication("site");
        const Run run(task, server);
        const QStringList summary = run.report.summary();
        QVERIFY2(summary.contains(QString("failed, %1:").arg(failures)), qPrintable(run.told()));
        const bool isStopped = !isOnce && failures < 6;
        QCOMPARE(summary.filter("stopped early").size(), isStopped ? 1 : 0);
        QCOMPARE(summary.filter("not tried").size(), isStopped ? 1 : 0);
        QVERIFY(!run.told().contains("rd%1"));
    }

    void removesALinkAndNotWhatIsBehindIt()
    {
        FtpPlay play;
        play.listing = [](const QByteArray& directory) {
            return directory == "www/gone" ? listed({ "file", "sub|d", "data -> ../data" }) : QByteArray();
        };
        play.replies = { { "DELE www/gone", "550 a directory" }, { "SIZE data", "550 no file" } };
        ScriptedFtpServer server(play);
        RemoveTask task({ "gone/" });
        const Run run(task, server);
        QVERIFY2(!run.report.hasFailures(), qPrintable(run.told()));
        const QList<QByteArray> commands = server.commands();
        for (const char* due :
            { "DELE www/gone/file", "DELE www/gone/data", "RMD www/gone/sub", "RMD www/gone", "CWD www/gone/sub" }) {
            QVERIFY2(commands.contains(due), due);
        }
        QVERIFY(!commands.contains("CWD www/gone/data"));
    }
};

QTEST_GUILESS_MAIN(PublishTest)
#include "PublishTest.moc"
