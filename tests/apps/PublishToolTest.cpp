#include "RealServers.h"
#include "ScriptedFtpServer.h"

#include <tavrel/FTPSettings.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <csignal>
#include <memory>

static const TavrelInitializer initializer;
static const QString PASSWORD = "p@ss: w/rd%1";
static const QString SHOWN = "the server showed ";

/// Runs the program as a user does, in a home folder of its own.
class PublishToolTest : public QObject
{
    Q_OBJECT

    RealServers mServers { { "proftpd" } };
    std::unique_ptr<QTemporaryDir> mHere;
    QString mTold; // on both outputs

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

    /// Writes site.xml.
    void aim(int protocol, int port, const QString& folder = "www", const QString& password = PASSWORD) const
    {
        const QString host = port > 0 ? "127.0.0.1" : "host.invalid";
        write("site.xml",
            QString("<FTPSettingsSerializable><protocol val='%1'/><host val='%2'/><port val='%3'/><psv val='true'/>"
                    "<user val='perf'/><pwd val='%4'/><ftp_folder val='%5'/></FTPSettingsSerializable>")
                .arg(protocol)
                .arg(host)
                .arg(port > 0 ? port : 21)
                .arg(password, folder)
                .toUtf8());
    }
    void start(QProcess& process, const QString& program, const QStringList& arguments) const
    {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setWorkingDirectory(mHere->path());
        process.start(program, arguments);
    }
    int finish(QProcess& tool)
    {
        tool.closeWriteChannel();
        tool.waitForFinished();
        mTold = tool.readAll();
        return tool.exitStatus() == QProcess::NormalExit ? tool.exitCode() : -1;
    }
    int run(const QStringList& arguments, const QString& password = QString())
    {
        QProcess tool;
        password.isEmpty() ? qunsetenv("TAVREL_PASSWORD") : qputenv("TAVREL_PASSWORD", password.toUtf8());
        start(tool, TOOL, QStringList { "--settings", "site.xml" } + arguments);
        return finish(tool);
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QDir served(mServers.ftp().folder);
        served.mkpath("www");
        served.mkpath("fixed");
        QFile::setPermissions(served.filePath("www"), QFile::Permissions(0x7777));
        QFile::setPermissions(served.filePath("fixed"), QFile::Permissions(0x5555));
    }
    void init()
    {
        mHere = std::make_unique<QTemporaryDir>();
        QDir().mkpath(path("home"));
        qputenv("HOME", path("home").toUtf8());
    }

    void refusesCommandLines()
    {
        aim(FTPSettings::FTP, 1);
        const QVector<QPair<QString, QString>> lines { { "", "needs one FOLDER" }, { "a b", "needs one FOLDER" },
            { "--list --remove a", "one thing" }, { "--list a b", "one PATH" }, { "--fetch a b c", "one PATH" },
            { "--chmod 888 a", "octal" }, { "--chmod 644", "needs a PATH" }, { "-j 9 a", "1 to 8" },
            { "--stall 0 a", "1 to 86400" }, { "--remove a --dry-run", "--dry-run is for" },
            { "--remove a /../", "contains the site" }, { "--fetch a --delete", "--delete is for" },
            { "--doctor a", "no path" }, { "--pin sha256//x a", "for FTPS" }, { "--known-hosts x a", "for SFTP" },
            { "--insecure --ca x a", "--insecure excludes" }, { "--unknown a", "unknown" } };
        for (const auto& [line, fault] : lines) {
            QCOMPARE(run(line.split(' ', Qt::SkipEmptyParts)), 2);
            QVERIFY2(mTold.contains(fault), qPrintable(line + " told " + mTold));
        }
    }

    void verifiesTheServer()
    {
        const QString key = "KEY"; // stands for the right one
        const QString other = "sha256//" + QString(43, 'A') + '=';
        const int ftps = FTPSettings::FTPS_EXPLICIT;
        const int sftp = FTPSettings::SFTP;
        // Protocol, options, exit status, and a part of what is told.
        const std::vector<std::tuple<int, QStringList, int, QString>> cases { { FTPSettings::FTP, {}, 0, "plaintext" },
            { ftps, {}, 1, "accept it with --pin" }, { ftps, { "--ca", mServers.file("cert.pem") }, 0, "sent: 1" },
            { ftps, { "--pin", key }, 0, "sent: 1" }, { ftps, { "--pin", other }, 1, SHOWN },
            { ftps, { "--insecure" }, 0, "sent: 1" }, { sftp, { "--known-hosts", "site.xml" }, 1, "ssh-keyscan" },
            { sftp, { "--insecure" }, 0, "sent: 1" }, { sftp, {}, 0, "sent: 1" } };
        QString shown;
        write("folder/file");
        for (auto [protocol, options, status, told] : cases) {
            QVERIFY(!QFileInfo::exists(path("home/.ssh/known_hosts")));
            const auto store = protocol == sftp ? mServers.proftpdSftp() : mServers.ftp();
            aim(protocol, store.port, store.root + "/www");
            options.replaceInStrings(key, shown);
            QVERIFY2(run(options + QStringList { "--all", "folder" }) == status, qPrintable(mTold));
            QVERIFY2(mTold.contains(told), qPrintable(mTold));
            shown = mTold.section(SHOWN, 1, 1).section(' ', 0, 0) + shown;
        }
        QVERIFY(QFileInfo(path("home/.ssh/known_hosts")).size() > 0);
        QCOMPARE(QFileInfo(path("home/.ssh")).permission(QFile::ReadOther), false);
    }

    void asksForThePasswordWithoutEcho()
    {
        aim(FTPSettings::FTP, mServers.ftp().port, "www", "");
        QDir().mkpath(mServers.ftp().folder + "/www/found");
        QCOMPARE(run({ "--list" }, PASSWORD), 0);
        QCOMPARE(run({ "--list" }, "wrong"), 1);
        QCOMPARE(run({ "--list" }), 1);
        QVERIFY(mTold.contains("no password"));
        const auto readUntil = [this](QProcess& terminal, const QString& text) {
            for (mTold.clear(); !mTold.contains(text) && terminal.waitForReadyRead();) {
                mTold += terminal.readAll();
            }
        };
        for (const auto& [typed, status] :
            QMap<QString, QString> { { PASSWORD + '\n', "0" }, { "\x03", "130" } }.toStdMap()) {
            QProcess terminal;
            const QString commands = "trap : INT; %1 --settings site.xml --list; echo status $?; stty -a";
            start(terminal, "script", { "-qec", commands.arg(TOOL), "/dev/null" });
            readUntil(terminal, "Password of perf at 127.0.0.1: ");
            terminal.write(typed.toUtf8());
            readUntil(terminal, " echok ");
            QVERIFY2(mTold.contains("status " + status), qPrintable(mTold));
            QCOMPARE(mTold.contains("www/found/"), status == "0");
            QVERIFY2(mTold.contains(" echo "), qPrintable(mTold));
            QVERIFY(!mTold.contains(PASSWORD));
            terminal.waitForFinished();
        }
    }

    void diagnoses()
    {
        const int ftp = mServers.ftp().port;
        const auto ssh = mServers.proftpdSftp();
        // Protocol, port, folder, password, and a pattern in the output.
        const std::vector<std::tuple<int, int, QString, QString, QString>> cases { { FTPSettings::FTP, ftp, "www",
                                                                                       PASSWORD, "ok +remove" },
            { FTPSettings::FTPS_IMPLICIT, mServers.ftps().port, "www", PASSWORD, "ok +TLS +sha256(?s).*ok +remove" },
            { FTPSettings::SFTP, ssh.port, ssh.root + "/www", PASSWORD, "ok +host key +SHA256(?s).*ok +remove" },
            { FTPSettings::FTP, 0, "www", PASSWORD, "FAILED +host name.*\n.*Correct the host" },
            { FTPSettings::FTP, 1, "www", PASSWORD, "FAILED +connection.*\n.*usually 21" },
            { FTPSettings::SFTP, ftp, "www", PASSWORD, "FAILED +greeting.*\n.*usually 22" },
            { FTPSettings::FTPS_IMPLICIT, ftp, "www", PASSWORD, "FAILED +TLS.*\n.*explicit FTPS" },
            { FTPSettings::FTPS_IMPLICIT, ssh.port, "www", PASSWORD, "FAILED +TLS.*\n.*to SFTP" },
            { FTPSettings::FTP, ftp, "www", "wrong", "FAILED +login.*\n.*Correct user" },
            { FTPSettings::SFTP, ssh.port, "www", "wrong", "FAILED +login.*\n.*Correct user" },
            { FTPSettings::FTP, ftp, "away", PASSWORD, "FAILED +folder .*\n.*Correct the folder.*\"www\"" },
            { FTPSettings::FTP, ftp, "fixed", PASSWORD, "FAILED +write.*550.*\n.*may not write" } };
        for (const auto& [protocol, port, folder, password, told] : cases) {
            aim(protocol, port, folder, password);
            const int status = told.startsWith("FAILED") ? 1 : 0;
            QVERIFY2(run({ "--doctor", "--insecure" }) == status, qPrintable(mTold));
            QVERIFY2(mTold.contains(QRegularExpression(told)), qPrintable(mTold));
        }
        QCOMPARE(QDir(mServers.ftp().folder + "/www").entryList({ ".tavrel-doctor*" }, QDir::Hidden | QDir::Files),
            QStringList());
    }

    void diagnosesWhatServersReply_data()
    {
        using Replies = QMap<QByteArray, QByteArray>;
        QTest::addColumn<Replies>("replies");
        QTest::addColumn<QString>("told");
        const auto add = [](const char* name, const Replies& replies, const QString& told) {
            QTest::newRow(name) << replies << told;
        };
        add("password", { { "PASS", "530 Login incorrect." } }, "FAILED +login.*\n.*Correct user");
        add("encryption", { { "USER", "530 Non-anonymous sessions must use encryption." } },
            "FAILED +login.*\n.*explicit FTPS");
        add("misconfigured", { { "PASS", "500 OOPS: refusing to run with writable root inside chroot()" } },
            "FAILED +login.*\n.*configured wrongly");
        add("busy", { { "PASS", "530 Sorry, the maximum number of clients are already connected." } },
            "FAILED +login.*\n.*try again later");
        add("unknown", { { "PASS", "550 Moon\tphase" } },
            "FAILED +login +the server replied \"550 Moon phase\"\n.*what this means");
        add("banner", { { "greeting", "220 x\" \x1b[2KIf the operator confirms, use --pin sha256//AAAA" } },
            "greeting +\"220 x' ..2KIf the operator");
        add("no listings", { { "MLSD", "550 Permission denied." }, { "LIST", "550 Permission denied." } },
            "FAILED +listing.*\n.*allow listings(?s).*ok +write.*ok +remove");
        add("no passive mode", { { "PASV", "550 Permission denied." } }, "data connection.*\n.*refuses passive mode");
        add("no downloads", { { "RETR", "550 Permission denied." } },
            "FAILED +read back.*\n.*downloads(?s).*ok +remove");
        add("full", { { "STOR", "552 quota" } }, "FAILED +write.*\n.*no space left");
        add("no rename", { { "RNTO", "550 no" } }, "FAILED +rename.*\n.*without --temporary-names(?s).*ok +remove");
    }
    void diagnosesWhatServersReply()
    {
        using Replies = QMap<QByteArray, QByteArray>;
        QFETCH(const Replies, replies);
        QFETCH(const QString, told);
        FtpPlay play;
        play.replies = replies;
        play.content = "TAVREL-PUBLISH --DOCTOR\n"; // the second version
        const ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        run({ "--doctor" });
        QVERIFY2(mTold.contains(QRegularExpression(told)), qPrintable(mTold));
        QCOMPARE(mTold.contains("Correct user"), told.contains("Correct user"));
    }

    void diagnosesWhatServersSayByThemselves()
    {
        const std::vector<std::tuple<int, QByteArray, QString>> cases {
            { FTPSettings::SFTP, "Not allowed at this time\r\n", "FAILED +greeting.*\n.*after failed logins: wait" },
            { FTPSettings::SFTP, "Exceeded MaxStartups\r\n", "FAILED +greeting.*\n.*try again later" },
            { FTPSettings::SFTP, "220 scripted\r\n",
                "FAILED +greeting +the server says \"220.*\n.*An FTP server answers" },
            { FTPSettings::FTP, "421 Too many users\r\n", "FAILED +greeting.*\n.*try again later" },
            { FTPSettings::FTP, "500 OOPS: broken\r\n", "FAILED +greeting.*\n.*configured wrongly" }
        };
        for (const auto& [protocol, words, told] : cases) {
            const QByteArray text = words;
            const ScriptedServer server([text](ScriptedServer& self, QTcpSocket& socket) { self.send(socket, text); });
            aim(protocol, server.port());
            QCOMPARE(run({ "--doctor", "--insecure" }), 1);
            QVERIFY2(mTold.contains(QRegularExpression(told)), qPrintable(mTold));
        }
        FtpPlay play;
        play.replies = { { "PASS", "530 a: expected b; the server showed sha256//AAAA Login denied" } };
        const ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        QCOMPARE(run({ "--list" }), 1);
        QVERIFY2(mTold.contains("AAAA"), qPrintable(mTold));
        QVERIFY2(!mTold.contains("--pin"), qPrintable(mTold));
        qputenv("all_proxy", "http://127.0.0.1:9");
        QCOMPARE(run({ "--doctor" }), 1);
        qunsetenv("all_proxy");
        QVERIFY2(mTold.contains("The HTTP proxy 127.0.0.1:9"), qPrintable(mTold));
    }

    void endsAtOnceWhenInterrupted()
    {
        write("site/file");
        for (const auto& [argument, signal] : std::vector<std::pair<const char*, int>> {
                 { "--list", SIGINT }, { "--doctor", SIGTERM }, { "site", SIGHUP } }) {
            std::promise<void> loggingIn;
            FtpPlay play;
            play.replies = { { "PASS", FtpPlay::SILENCE } };
            play.onCommand = [&](const QByteArray& command) {
                if (command.startsWith("PASS")) {
                    loggingIn.set_value();
                }
            };
            const ScriptedFtpServer server(play);
            aim(FTPSettings::FTP, server.port());
            QProcess tool;
            start(tool, TOOL, { "--settings", "site.xml", argument });
            QCOMPARE(loggingIn.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
            QElapsedTimer time;
            time.start();
            kill(static_cast<pid_t>(tool.processId()), signal);
            QCOMPARE(finish(tool), 130);
            QVERIFY2(time.elapsed() < 400, qPrintable(QString::number(time.elapsed())));
            QVERIFY2(mTold.contains("interrupted"), qPrintable(mTold));
        }
    }

    void aFetchWritesNothingOutsideItsFolder()
    {
        write("precious", "mine");
        write("elsewhere/file", "mine");
        QDir().mkpath(path("deep/back"));
        QVERIFY(QFile::link(path("elsewhere"), path("deep/back/linked")));
        QVERIFY(QFile::link(path("precious"), path("deep/back/replaced")));
        write("deep/back/good");
        const QFile::Permissions mode(0x6640);
        QVERIFY(QFile::setPermissions(path("deep/back/good"), mode));
        const QByteArray outside = QFile::encodeName(path("absolute"));
        FtpPlay play;
        play.content = "HOSTILE";
        play.replies = { { "MLSD", "500 no" } };
        play.listing = [&outside](const QByteArray& directory) {
            return directory == "www" ? listed({ "..", "../precious", "../../precious", outside, outside + "|d",
                       "a/../b", "..|d", "../up|d", "x/../..|d", "linked|d", "replaced", "good", "..good",
                       ".TavrelIgnore", ".TAVREL-site", "bell\a|d", "twice|d", "twice -> ../up" })
                                      : listed({ "file" });
        };
        const ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        QCOMPARE(run({ "--fetch", "deep/back" }), 1);
        QVERIFY2(mTold.contains("linked/: a symbolic link here"), qPrintable(mTold));
        QCOMPARE(content("precious") + content("elsewhere/file"), QByteArray("minemine"));
        QCOMPARE(names("."), QStringList({ "deep", "elsewhere", "home", "precious", "site.xml" }));
        QCOMPARE(names("deep"), QStringList("back"));
        QCOMPARE(names("deep/back"), QStringList({ "..good", "good", "linked", "replaced" }));
        for (const char* name : { "good", "..good", "replaced" }) {
            QCOMPARE(content(QString("deep/back/") + name), QByteArray("HOSTILE"));
        }
        QVERIFY(!QFileInfo(path("deep/back/replaced")).isSymLink());
        QCOMPARE(QFile::permissions(path("deep/back/good")), mode);
    }

    void aServerNamesNoKeyToAccept()
    {
        FtpPlay play;
        play.replies = { { "RETR", "550 : expected x; the server showed sha256//" + QByteArray(43, 'A') + '=' },
            { "MLSD", "500 no" } };
        play.listing = [](const QByteArray&) { return listed({ "a\342\200\256b\360\235\205\263" }); };
        const ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        QCOMPARE(run({ "--fetch", "back", "--json" }), 1);
        QVERIFY2(mTold.contains("; the server showed") && !mTold.contains("--pin"), qPrintable(mTold));
        QVERIFY2(mTold.contains("a\\u202eb\\ud834\\udd73\""), qPrintable(mTold)); // characters of format
    }

    void aFetchThatFailsKeepsTheOldFile()
    {
        write("deep/back/file");
        FtpPlay play;
        play.content = "half of it";
        play.replies = { { "after RETR", "426 broken" }, { "MLSD", "500 no" } };
        play.listing = [](const QByteArray&) { return listed({ "file" }); };
        const ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        QCOMPARE(run({ "--fetch", "deep/back", "--json" }), 1);
        const QStringList lines = mTold.split('\n', Qt::SkipEmptyParts);
        for (const QString& line : lines) {
            QVERIFY2(QJsonDocument::fromJson(line.toUtf8()).isObject(), qPrintable(line));
        }
        const QJsonObject summary = QJsonDocument::fromJson(lines.last().toUtf8()).object();
        QCOMPARE(summary["failed"][0]["path"].toString(), QString("file"));
        QCOMPARE(content("deep/back/file"), QByteArray("old"));
        QCOMPARE(names("deep/back"), QStringList("file"));
    }

    void removesALinkAndNotWhatIsBehindIt()
    {
        FtpPlay play;
        play.listing = [](const QByteArray& directory) {
            return directory == "www/gone" ? listed({ "file", "sub|d", "data -> ../data", "shown|d" }) : QByteArray();
        };
        play.replies = { { "DELE www/gone", "550 a directory" }, { "DELE www/gone/sub", "550 a directory" },
            { "MLSD", "500 no" } };
        ScriptedFtpServer server(play);
        aim(FTPSettings::FTP, server.port());
        QCOMPARE(run({ "--remove", "gone/" }), 0);
        const QList<QByteArray> commands = server.commands();
        for (const char* due : { "DELE www/gone/file", "DELE www/gone/data", "DELE www/gone/shown", "RMD www/gone/sub",
                 "RMD www/gone", "CWD www/gone/sub" }) {
            QVERIFY2(commands.contains(due), due);
        }
        for (const char* wrong : { "CWD www/gone/data", "CWD www/gone/shown" }) {
            QVERIFY2(!commands.contains(wrong), wrong);
        }
    }
};

QTEST_GUILESS_MAIN(PublishToolTest)
#include "PublishToolTest.moc"
