#include "FtpTarget.h"
#include "ScriptedFtpServer.h"
#include "TestProgram.h"

#include <FetchTask.h>
#include <PublishTask.h>
#include <RemoteTasks.h>
#include <Report.h>

#include <tavrel/FTPCurl.h>

/// Runs a task on a server; returns what it printed, and its summary.
static QString toldBy(Task&& task, const ScriptedFtpServer& server)
{
    QStringList told;
    Report report(task.done(), [&told](const QString& line) { told << line; });
    FTPCurl client;
    client.initHost(FtpTarget(FTPSettings::FTP, server.port(), "www"));
    curl_easy_setopt(client.curlhandle(), CURLOPT_SERVER_RESPONSE_TIMEOUT, 1L);
    task.run(client, report);
    return (told + report.summary()).join('\n');
}

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
    QString fetched(const FtpPlay& play) const
    {
        const ScriptedFtpServer server(play);
        FetchFolder folder(path("deep/back"));
        if (!folder.open()) {
            return folder.fault();
        }
        return toldBy(FetchTask(std::move(folder), QString()), server);
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
        const QString told = fetched(play);
        // Those that lead nowhere but upwards are left out of a listing before.
        QCOMPARE(told.count("FAILED: refused, no plain name"), 6);
        QVERIFY(told.contains("linked/: a symbolic link here"));
        QCOMPARE(content("precious") + content("elsewhere/file"), QByteArray("minemine"));
        QCOMPARE(names("."), QStringList({ "deep", "elsewhere", "precious" }));
        QCOMPARE(names("deep"), QStringList("back"));
        for (const char* name : { "good", "..good", "replaced" }) {
            QCOMPARE(content(QString("deep/back/") + name), QByteArray("HOSTILE"));
        }
        QVERIFY(!QFileInfo(path("deep/back/replaced")).isSymLink());
    }

    void aFetchThatFailsKeepsTheOldFile()
    {
        write("deep/back/file");
        FtpPlay play;
        play.content = "half of it";
        play.replies = { { "after RETR", "426 broken" } };
        play.listing = [](const QByteArray&) { return listed({ "file" }); };
        QVERIFY(fetched(play).contains("failed, 1:"));
        QCOMPARE(content("deep/back/file"), QByteArray("old"));
        QCOMPARE(names("deep/back"), QStringList("file"));
    }

    void goesOnAsLongAsItMakesSense()
    {
        // A moment and the reply then, whether it comes once only, and the number of failures.
        const std::vector<std::tuple<QByteArray, QByteArray, bool, int>> cases { { "after STOR", "550 no", true, 1 },
            { "STOR", "553 no", false, 6 }, { "PASS", "530 no", false, 1 }, { "after STOR", "552 full", false, 1 },
            { "STOR", FtpPlay::SILENCE, false, 1 }, { "after STOR", FtpPlay::DROP, true, 1 },
            { "PASV", FtpPlay::DROP, false, 3 } };
        for (int i = 1; i <= 6; ++i) {
            write(QString("site/%1").arg(i));
        }
        for (const auto& [moment, reply, isOnce, failures] : cases) {
            FtpPlay play;
            play.replies = { { moment, reply } };
            play.isDue = [isOnce = isOnce, times = std::make_shared<int>(0)] { return (*times)++ == 0 || !isOnce; };
            const ScriptedFtpServer server(play);
            LocalSite site;
            site.read(path("site"));
            const QString told = toldBy(PublishTask(site), server);
            QVERIFY2(told.contains(QString("failed, %1:").arg(failures)), qPrintable(told));
            const bool isStopped = !isOnce && failures < 6;
            QCOMPARE(told.contains("stopped early"), isStopped);
            QCOMPARE(told.contains("not tried"), isStopped);
            QVERIFY(!told.contains("rd%1"));
        }
    }

    void removesALinkAndNotWhatIsBehindIt()
    {
        FtpPlay play;
        play.listing = [](const QByteArray& directory) {
            return directory == "www/gone" ? listed({ "file", "sub|d", "data -> ../data" }) : QByteArray();
        };
        play.replies = { { "DELE www/gone", "550 a directory" }, { "SIZE data", "550 no file" } };
        ScriptedFtpServer server(play);
        const QString told = toldBy(RemoveTask({ "gone/" }), server);
        QVERIFY2(!told.contains("failed"), qPrintable(told));
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
