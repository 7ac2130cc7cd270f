#include "FtpTarget.h"
#include "RealServers.h"
#include "ScriptedFtpServer.h"

#include <tavrel/FolderPublisher.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

static const TavrelInitializer initializer;
static const QByteArray EMPTY_RECORD = "tavrel-site 1\n";

/// Servers that refuse, break and lie. No file counts as sent that is not whole on the server.
class PublishFaultsTest : public QObject
{
    Q_OBJECT

    using Replies = QMap<QByteArray, QByteArray>;

    QTemporaryDir mHere;

    PublishReport publish(const FTPSettings& target, int connections, bool looks = false) const
    {
        FolderPublisher publisher;
        publisher.setStallTimeOut(1);
        publisher.setConnections(connections);
        publisher.setKeepModificationTime(true);
        publisher.setCheckServer(looks);
        publisher.setRemoveObsolete(looks);
        publisher.publish(target, mHere.filePath("site"));
        publisher.wait();
        return publisher.report();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QDir(mHere.path()).mkpath("site/empty");
        for (int i = 1; i <= 4; ++i) {
            QVERIFY(FileUtils::writeFileContent(mHere.filePath(QString("site/%1").arg(i)), EMPTY_RECORD));
        }
    }

    void neverReportsAFileThatIsNotWhole_data()
    {
        QTest::addColumn<QByteArray>("moment"); // or several, between commas
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("isOnce");
        QTest::addColumn<QString>("outcome"); // sent, failed, not tried
        QTest::addColumn<QString>("stopReason");
        const auto row = [](const char* name, const QByteArray& moment, const QByteArray& reply, bool isOnce,
                             const char* outcome, const char* stopReason = "") {
            QTest::newRow(name) << moment << reply << isOnce << outcome << stopReason;
        };
        row("no fault", "none", "", true, "4 0 0");
        row("the reply to an upload is lost", "after STOR", FtpPlay::SILENCE, true, "4 0 0");
        row("the connection breaks after an upload", "after STOR", FtpPlay::DROP, true, "4 0 0");
        row("the server closes the session", "STOR site/2", "421 idle", true, "4 0 0");
        row("one file is refused", "STOR site/2", "553 no", false, "3 1 0");
        row("nothing is stored", "SIZE site/2", "213 0", false, "3 1 0");
        row("one file is refused at its end", "after STOR", "550 no", true, "4 0 0");
        row("one file is too large", "after STOR", "552 too large", true, "3 1 0");
        row("the disk is full", "after STOR", "552 quota exceeded", false, "0 3 1", "552 quota exceeded");
        row("the disk becomes full", "STOR site/2", "452 no space", false, "1 1 2", "452 no space");
        row("the login is refused", "PASS", "530 no", false, "0 0 4", "530 no");
        row("each data connection breaks", "PASV", FtpPlay::DROP, false, "0 0 4", "*");
        row("the server does not set times", "MFMT,MDTM", "500 what", false, "4 0 0");
        row("the record cannot be read", "RETR", "425 no data", false, "0 0 4", "425 no data");
        row("the record can be read at last", "RETR", "450 busy", true, "4 0 0");
        row("the record cannot be written", "STOR site/.tavrel-site.", "553 no", false, "4 1 0");
    }

    void neverReportsAFileThatIsNotWhole()
    {
        QFETCH(QByteArray, moment);
        QFETCH(QByteArray, reply);
        QFETCH(bool, isOnce);
        QFETCH(QString, stopReason);
        FtpPlay play;
        play.content = EMPTY_RECORD; // has the size of all files
        for (const QByteArray& one : moment.split(',')) {
            play.replies[one] = reply;
        }
        play.isDue = [isOnce, times = std::make_shared<int>(0)] { return (*times)++ == 0 || !isOnce; };
        const ScriptedFtpServer server(play);
        const PublishReport report = publish(FtpTarget(FTPSettings::FTP, server.port(), "site"), 1);
        QTEST(QString("%1 %2 %3").arg(report.sent.size()).arg(report.failed.size()).arg(report.notTried.size()),
            "outcome");
        QVERIFY2(stopReason == "*" || report.stopReason.contains(stopReason), qPrintable(report.stopReason));
        QCOMPARE(report.stopReason.isEmpty(), stopReason.isEmpty());
        QVERIFY(!report.stopReason.contains("rd%1"));
    }

    void replacesARecordBeforeAnythingElse_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("missing");
        QTest::addColumn<QByteArray>("refused");
        QTest::addColumn<QList<QByteArray>>("first");
        const QByteArray mark = EMPTY_RECORD + "9 - 1\n";
        const QByteArray put = "STOR site/.tavrel-site."; // and a number
        const QByteArray from = "RNFR site/.tavrel-site.";
        QTest::newRow("of another version") << QByteArray("tavrel-site 2\n") << QByteArray() << QByteArray()
                                            << QList<QByteArray> { put, from, "STOR site/1" };
        QTest::newRow("under its second name")
            << mark << QByteArray("RETR .tavrel-site") << QByteArray()
            << QList<QByteArray> { put, from, "DELE site/.tavrel-site.", "STOR site/1" };
        QTest::newRow("that cannot be renamed")
            << mark << QByteArray() << QByteArray("RNTO")
            << QList<QByteArray> { put, from, "DELE site/.tavrel-site", from, "STOR site/1" };
    }

    void replacesARecordBeforeAnythingElse()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, missing);
        QFETCH(QByteArray, refused);
        QFETCH(QList<QByteArray>, first);
        FtpPlay play;
        play.content = content;
        play.listing = [](const QByteArray&) { return listed({ ".tavrel-site.0123456789abcdef" }); };
        play.replies
            = { { missing, "550 none" }, { refused, "550 no" }, { "STOR site/1", "552 full" }, { "MLSD", "500 no" } };
        ScriptedFtpServer server(play);
        publish(FtpTarget(FTPSettings::FTP, server.port(), "site"), 1);
        QList<QByteArray> changes = server.commands();
        const auto isOther = [](QByteArray& command) {
            command = command.contains(".tavrel-site.") ? command.left(command.lastIndexOf('.') + 1) : command;
            return !command.startsWith("STOR") && !command.startsWith("RNFR") && !command.startsWith("DELE");
        };
        changes.erase(std::remove_if(changes.begin(), changes.end(), isOther), changes.end());
        QCOMPARE(changes.mid(0, first.size()), first);
    }

    void looksAtTheServer_data()
    {
        QTest::addColumn<QByteArray>("record"); // a line of it
        QTest::addColumn<QByteArray>("listing"); // of each directory that was entered
        QTest::addColumn<Replies>("replies");
        QTest::addColumn<QByteArray>("once"); // a command that is due
        QTest::addColumn<QByteArray>("never");
        QTest::addColumn<QStringList>("failed");
        const auto row = [](const char* name, const QByteArray& record, const QByteArray& listing, Replies replies,
                             const QByteArray& once, const QByteArray& never = {}, const QStringList& failed = {}) {
            replies.insert({ { "MLSD", "500 no" }, { "SIZE", "213 14" } });
            replies["SIZE .tavrel-site"] = replies.value("SIZE .tavrel-site", "500 no");
            QTest::newRow(name) << record << listing << replies << once << never << failed;
        };
        const QByteArray digest = QCryptographicHash::hash(EMPTY_RECORD, QCryptographicHash::Sha256).toHex();
        const QByteArray unchanged = "14 " + digest + " 1";
        const QByteArray gone = "7 " + digest + ' ';
        const QByteArray unknown = "ls: cannot access 1\r\n";
        row("the path of a listing is refused", gone + "gone", listed({ "gone" }), { { "LIST -a site", "550 no" } },
            "DELE site/gone");
        row("a folder may not be entered", gone + "d/gone", listed({ "d|d" }),
            { { "LIST -a site/d", "550 no" }, { "CWD site/d", "550 no" } }, "CWD site/d", "DELE site/d/gone");
        row("a name is listed twice", gone + "d/d", listed({ "d -> /away", "d|d" }), {}, "MLSD site", "DELE site/d/d");
        row("a file has become a folder", gone + "empty", listed({ "empty" }), {}, "DELE site/empty");
        row("a folder has become a file", gone + "1/gone", listed({ "1|d", "gone" }), {}, "RMD site/1");
        const QByteArray mark = "APPE site/.tavrel-site";
        row("a listing is in no known style", unchanged, unknown, { { "SIZE site/1", "550 none" } }, mark, "", { "1" });
        row("neither listings nor sizes are told", unchanged, "", { { "LIST", "451 no" }, { "SIZE site/1", "502 no" } },
            mark, "", { "1" });
        row("a record is too large", "", "", { { "SIZE .tavrel-site", "213 2000000000" } }, "SIZE .tavrel-site");
        row("a file is in place of a folder", "", "", { { "CWD site/empty", "550 no" } }, "MKD site/empty", "",
            { "empty/" });
    }

    void looksAtTheServer()
    {
        QFETCH(QByteArray, listing);
        QFETCH(QByteArray, once);
        QFETCH(QByteArray, never);
        QFETCH(QByteArray, record);
        QFETCH(Replies, replies);
        FtpPlay play;
        play.content = EMPTY_RECORD + record + '\n';
        play.listing = [listing](const QByteArray&) { return listing; };
        play.replies = replies;
        ScriptedFtpServer server(play);
        const PublishReport report = publish(FtpTarget(FTPSettings::FTP, server.port(), "site"), 1, true);
        const QList<QByteArray> commands = server.commands();
        QVERIFY2(commands.count(once) == 1, commands.join('\n').constData());
        QVERIFY2(!commands.contains(never), commands.join('\n').constData());
        QStringList failed;
        for (const PublishReport::Failure& failure : report.failed) {
            failed << failure.path;
        }
        QTEST(failed, "failed");
    }

    void makesDoWithFewerSessions()
    {
        const RealServers servers { { "proftpd" } };
        for (int i = 5; i <= 100; ++i) {
            QVERIFY(FileUtils::writeFileContent(mHere.filePath(QString("site/%1").arg(i)), QByteArray(i, 'x')));
        }
        const PublishReport report = publish(FtpTarget(FTPSettings::FTP, servers.limitedFtp().port, "site"), 4);
        QVERIFY2(report.isSuccess(), qPrintable(report.stopReason));
        QCOMPARE(report.sent.size(), 100);
        QCOMPARE(report.remarks, QStringList("the server allowed only 2 sessions"));

        // One file is over the limit for sizes of files.
        QVERIFY(FileUtils::writeFileContent(mHere.filePath("site/large"), QByteArray(30 << 20, 'x')));
        const PublishReport second = publish(FtpTarget(FTPSettings::FTP, servers.limitedFtp().port, "site"), 2, true);
        QVERIFY2(second.stopReason.isEmpty(), qPrintable(second.stopReason));
        QCOMPARE(second.failed.size(), 1);
        QVERIFY2(second.failed.first().reason.contains("552"), qPrintable(second.failed.first().reason));
        QCOMPARE(second.remarks, QStringList());
    }
};

QTEST_GUILESS_MAIN(PublishFaultsTest)
#include "PublishFaultsTest.moc"
