#include "Session.h"
#include "TestProgram.h"

#include <tavrel/FTPFailure.h>

#include <QBuffer>
#include <QDateTime>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

/// Puts a file into the folder of a test and names it.
static QString fileWith(const QByteArray& content)
{
    static const QTemporaryDir folder;
    static int number = 0;
    QFile file(folder.filePath(QString::number(++number)));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? file.fileName() : QString();
}

static const Operation listing = [](FTPCurl& ftp) {
    VirtualFileList files;
    return ftp.list("img", files);
};

class FTPCurlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // This test is the first: after a look-up of the proxy, which Qt 6 leaves to a thread, a forked process waits for
    // ever.
    void endsTheProcessForAnUnknownProtocol()
    {
        const std::map<QByteArray, Operation> cases { { "list(const QString &, VirtualFileList &)", listing },
            { "internal_mkdir(const QString &)", FTP(internal_mkdir("a")) },
            { "internal_chmod(const QString &, int)", FTP(internal_chmod("a", 1)) },
            { "removeSimpleResource(const QString &, bool)", FTP(removeSimpleResource("a", true)) } };
        for (const auto& [function, operation] : cases) {
            QFile messages(fileWith(""));
            QVERIFY(messages.open(QIODevice::ReadWrite));
            const pid_t child = fork();
            if (child == 0) {
                dup2(messages.handle(), STDERR_FILENO);
                qInstallMessageHandler(nullptr);
                std::signal(SIGABRT, SIG_DFL); // Qt Test would print a stack
                FTPCurl ftp;
                ftp.initHost(FtpTarget(FTPSettings::FTP | FTPSettings::FTPS_EXPLICIT, 1));
                operation(ftp);
                _exit(0);
            }
            int status = 0;
            waitpid(child, &status, 0);
            messages.seek(0);
            QCOMPARE(WIFSIGNALED(status) ? WTERMSIG(status) : 0, SIGABRT);
            QCOMPARE(messages.readAll().trimmed(), "bool FTPCurl::" + function + ": Unknown protocol");
        }
    }

    void namesPaths()
    {
        const QMap<QString, int> protocols { { "ftp", FTPSettings::FTP }, { "ftps", FTPSettings::FTPS_IMPLICIT },
            { "sftp", FTPSettings::SFTP } };
        // A scheme, the folder of the settings, a path, and its canonical and relative forms.
        const QList<QStringList> cases { { "ftp", "www", "index.html", "/./www/index.html", "www/index.html" },
            { "ftp", "www", "img/", "/./www/img/", "www/img/" }, { "ftp", "www", "/abs/x", "/./abs/x", "abs/x" },
            { "ftp", "www", "", "", "" }, { "sftp", "www", "", "/", "" },
            { "sftp", "www", "index.html", "//./www/index.html", "www/index.html" },
            { "ftps", "", "a/", "/./a/", "a/" }, { "ftp", "/www//", "a///b", "/./www/a/b", "www/a/b" },
            { "ftp", "www", "a//", "/./www/a/", "www/a/" }, { "ftp", "www", "/", "/./", "" },
            { "ftp", "www", "/./www/a", "/./www/a", "www/a" }, { "sftp", "www", "//./www/a/", "//./www/a/", "www/a/" },
            { "ftp", "w%41", "a#b?c%20;d", "/./w%41/a#b?c%20;d", "w%41/a#b?c%20;d" } };
        for (const QStringList& row : cases) {
            FTPCurl ftp;
            QVERIFY(ftp.initHost(FtpTarget(protocols[row.at(0)], 2121, row.at(1))));
            const QString& path = row.at(2);
            const QUrl url = ftp.generateUrl(path);
            const QString canonical = ftp.canonicalizedFilePath(path);
            QCOMPARE(QStringList({ url.scheme(), row.at(1), path, canonical, ftp.canonicalizedRelativeFilePath(path) }),
                row);
            QCOMPARE(url.path(QUrl::FullyDecoded), canonical);
            QCOMPARE(url.password(QUrl::FullyDecoded), QString("p@ss: w/rd%1"));
            QCOMPARE(url.authority().remove(QRegularExpression(":.*@")), QString("perf127.0.0.1:2121"));
        }
    }

    void refusesWithAReason_data()
    {
        QTest::addColumn<Operation>("operation");
        const auto row = [](const char* message, const Operation& operation) { QTest::newRow(message) << operation; };
        const QString source = fileWith("x");
        row("resourceExists: resource is empty",
            [](FTPCurl& ftp) { return ftp.resourceExists("", *std::make_unique<bool>()); });
        row("createDirectory: directory =='.'", FTP(createDirectory(".")));
        row("createDirectory: directory =='/'", FTP(createDirectory("/")));
        row("createDirectory: directory is empty", FTP(createDirectory("")));
        row("internal_mkdir: directory is empty", FTP(internal_mkdir("")));
        row("internal_chmod: filePath is empty", FTP(internal_chmod("", -1)));
        row("Resource is empty", FTP(rm("", FTPCurl::NoModeFlags)));
        row("putData: target is empty", FTP(putFile("", "", true)));
        row("getFile: source is empty", FTP(getFile("", "")));
        row("putFile: source cant be opened /no/such", FTP(putFile("/no/such", "a", false)));
        row("setStallTimeOut: -1 is not between 0 and 86400", FTP(setStallTimeOut(-1)));
        row("setNameEncoding: 2 is no encoding", FTP(setNameEncoding(static_cast<FTPCurl::NameEncoding>(2))));
        row("setUploadMode: 2 is no mode", FTP(setUploadMode(static_cast<FTPCurl::UploadMode>(2))));
        row("setSshKey: the private key \"\" cannot be read", FTP(setSshKey("")));
        row("setSshKey: the public key \"/no/such\" cannot be read", FTP(setSshKey(source, "/no/such")));
        row("setModificationTime: time is not valid", FTP(setModificationTime("a", QDateTime())));
        row("rename: from is empty", FTP(rename("", "a")));
        row("rename: to is empty", FTP(rename("a", "")));
        row("initHost: port 65536 is above 65535", FTP(initHost(FtpTarget(FTPSettings::FTP, 65536))));
        row("list: the path holds a control character",
            [](FTPCurl& ftp) { return ftp.list("a\tb", *std::make_unique<VirtualFileList>()); });
        row("createDirectory: the path holds a control character", FTP(createDirectoryIfNecessary("a\nb/c")));
        row("internal_mkdir: the path holds a control character", FTP(internal_mkdir("a\r\nDELE b")));
        row("getFile: the path holds a control character", FTP(getFile(QString("a") + QChar(0) + "b", "b")));
    }
    void refusesWithAReason()
    {
        QFETCH(Operation, operation);
        Session session;
        QVERIFY(!operation(session.ftp));
        QCOMPARE(session.ftp.error(), ErrorableCode::of(FTPCurl::FUNC_PARAM_ERROR));
        QVERIFY(session.ftp.error().location().startsWith("FTPCurl:"));
        QCOMPARE(session.ftp.errorMessage(), QString(QTest::currentDataTag()));
        QVERIFY(session.server.commands().isEmpty());
    }

    void needsASession()
    {
        FTPCurl ftp;
        QByteArray data = "x";
        QVERIFY(!ftp.getData("a", data));
        QCOMPARE(data, QByteArray());
        QCOMPARE(ftp.error(), ErrorableCode::of(FTPCurl::NOT_INITIALIZED));
        QCOMPARE(ftp.error().name(), QString("Error::NOT_INITIALIZED"));
        VFSCurlData request { VFSCurlData::Plain, &ftp, nullptr, QTime::currentTime(), ftp.generateUrl("a") };
        QCOMPARE(performCurlRequest(request), -1);
        QVERIFY(!ftp.removeSimpleResource("a", false));
        QCOMPARE(ftp.errorMessage(), QString("Can't removeResource a  CURL error : Unknown error (-1)"));
        ftp.close(); // does nothing
        QVERIFY(ftp.hasError());
        for (const int type : { -1, 7 }) {
            ftp.initHost(FtpTarget(FTPSettings::FTP, 1));
            request.type = type;
            QCOMPARE(performCurlRequest(request), -1);
        }
        Thread interrupted;
        interrupted.requestInterruption();
        interrupted.addThreadableChild(&ftp);
        QVERIFY(!ftp.initHost(FtpTarget(FTPSettings::FTP, 1)));
        QVERIFY(!ftp.isValid());
        QVERIFY(ftp.curlhandle());
    }

    void callbacksTakeNothing()
    {
        char byte = 0;
        QCOMPARE(FTPCurl::header(&byte, 2, 3, nullptr), size_t(6));
        QCOMPARE(FTPCurl::fread(&byte, 2, 3, nullptr), size_t(6));
        QCOMPARE(FTPCurl::fwrite(&byte, 2, 3, nullptr), size_t(6));
        QCOMPARE(FTPCurl::progress(nullptr, 0, 0, 1, 1), 0);
    }

    void converses_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QByteArrayList>("refused");
        QTest::addColumn<QStringList>("told"); // commands, and a message or "ok"
        const auto row = [](const char* name, const Operation& operation, const QByteArrayList& refused,
                             const QString& commands, const QString& outcome = "ok") {
            QTest::newRow(name) << operation << refused << QStringList { commands, outcome };
        };
        const auto failure = [](const QString& context, CURLcode code) {
            return context + "  CURL error : " + curl_easy_strerror(code) + QString(" (%1)").arg(int(code));
        };
        row("a listing", listing, {}, "CWD www/img|PASV|TYPE A|LIST -a");
        row("a refused listing", listing, { "LIST" }, "CWD www/img|PASV|TYPE A|LIST -a",
            failure("Can't list /./www/img/", CURLE_FTP_COULDNT_RETR_FILE));
        const Operation create = FTP(createDirectory("a/b"));
        row("a chain of directories", create, { "CWD www/a/b", "CWD www/a" },
            "CWD www/a/b|CWD /|CWD www/a|CWD /|CWD www|CWD /|MKD www/a|MKD www/a/b");
        row("a directory that exists", create, {}, "CWD www/a/b");
        row("a refused directory", create, { "CWD www/a/b", "MKD" }, "CWD www/a/b|CWD /|CWD www/a|CWD /|MKD www/a/b",
            failure("Can't createDirectory /./www/a/b", CURLE_QUOTE_ERROR));
        row(
            "a directory that was just listed", [](FTPCurl& ftp) { return listing(ftp) && ftp.createDirectory("img"); },
            {}, "CWD www/img|PASV|TYPE A|LIST -a|CWD /|CWD /|CWD www/img");
        row("a mode", FTP(internal_chmod("a b/", 644)), {}, "CHMOD 1204 www/a b");
        row("a mode, tried twice", FTP(internal_chmod("/a", 012755)), { "CHMOD" }, "CHMOD 12755 a|SITE CHMOD 12755 a");
        row("no mode", FTP(internal_chmod("a", -1)), {}, "");
        row("a file", FTP(removeResource("a.txt")), { "CWD www/a.txt" }, "CWD www/a.txt|CWD /|DELE www/a.txt");
        const QString tree = "CWD www/tree|PASV|TYPE A|LIST -a|CWD /|DELE www/tree/one|CWD /|CWD www/tree/sub|PASV|"
                             "LIST -a|CWD /|DELE www/tree/sub/one|RMD www/tree/sub|RMD www/tree";
        row("a tree", FTP(removeResource("tree/")), {}, tree);
        row("a tree with a file that stays", FTP(removeResource("tree/")), { "DELE www/tree/one", "RMD www/tree" },
            tree, failure("Can't removeResource /./www/tree", CURLE_QUOTE_ERROR));
        const QString source = fileWith("x");
        row("an upload", FTP(putData("x", "a/b.txt", true)), {}, "CWD www/a|PASV|TYPE I|STOR b.txt");
        row("a refused upload", FTP(putFile(source, "b", false)), { "STOR" }, "CWD www|PASV|TYPE I|STOR b",
            failure("Can't putFile " + source + " to /./www/b", CURLE_UPLOAD_FAILED));
        const char* const placeholder = "ORBALUMENTA_PASSWORD:ORBALUMENTA_PASSWORD@"; // of building URLs
        row("a name like the placeholder of the password", FTP(putData("x", placeholder, false)), {},
            QString("CWD www|PASV|TYPE I|STOR ") + placeholder);
        row("an upload into a directory that cannot be made", FTP(putData("x", "a/b", true)), { "CWD www/a", "MKD" },
            "CWD www/a|CWD /|CWD www|CWD /|MKD www/a", failure("Can't createDirectory /./www/a", CURLE_QUOTE_ERROR));
        row("a download", FTP(getFile("a/b;type=a", source)), {}, "CWD www/a|PASV|TYPE I|SIZE b;type=a|RETR b;type=a");
    }
    void converses()
    {
        QFETCH(Operation, operation);
        QFETCH(QByteArrayList, refused);
        FtpPlay play;
        for (const QByteArray& command : refused) {
            play.replies.insert(command, "550 no");
        }
        play.listing = [](const QByteArray& directory) -> QByteArray {
            const QByteArray file = "-rw-r--r-- 1 a b 1 Jan 1 2020 one\r\n";
            return directory == "www/tree" ? file + "drwxr-xr-x 1 a b 1 Jan 1 2020 sub\r\n" : file;
        };
        Session session(play, "www");
        const bool success = operation(session.ftp);
        const QString outcome = success ? "ok" : session.ftp.errorMessage();
        QTEST(QStringList({ session.server.commands().join('|'), outcome }), "told");
        QCOMPARE(success, !session.ftp.hasError());
    }

    void leavesAnOlderError()
    {
        FtpPlay play;
        play.replies = { { "CHMOD", FtpPlay::DROP }, { "SITE CHMOD 0644 b", "550 no" }, { "MKD", "550 no" } };
        Session session(play);
        bool exists = false;
        for (const bool hasError : { false, true }) {
            QVERIFY(session.ftp.internal_chmod("a", 0644)); // the second command has a connection of its own
            QVERIFY(!session.ftp.internal_chmod("b", 0644));
            QVERIFY(session.ftp.resourceExists("a", exists));
            QVERIFY(session.ftp.createDirectoryIfNecessary("a"));
            QCOMPARE(session.ftp.hasError(), hasError);
            QVERIFY(!session.ftp.internal_mkdir("a/b"));
        }
    }

    void remembersWhatExists()
    {
        FtpPlay play;
        play.replies = { { "SIZE", "550 no" }, { "MDTM", "550 no" }, { "STOR refused", "550 no" } };
        Session session(play);
        bool exists = true;
        for (const char* path : { "a", "/./a/" }) { // asked about once
            QVERIFY(session.ftp.resourceExists(path, exists));
            QVERIFY(!exists);
            QCOMPARE(session.server.commands().size(), 3);
        }
        QVERIFY(session.ftp.putData("x", "a", false));
        QVERIFY(session.ftp.resourceExists("a", exists));
        QVERIFY(exists);
        QVERIFY(!session.ftp.putData("x", "refused", false));
        QCOMPARE(session.ftp.existingResourceCacheValue("refused"), -1);
        session.ftp.initHost(FtpTarget(FTPSettings::FTP, session.server.port()));
        QCOMPARE(session.ftp.existingResourceCacheValue("a"), 1);
        QVERIFY(session.ftp.removeSimpleResource("a", false));
        QCOMPARE(session.ftp.existingResourceCacheValue("a"), 0);
        play.replies = { { "SIZE", "500 what" }, { "MDTM", "500 what" } };
        ScriptedFtpServer ignorant(play);
        session.ftp.initHost(FtpTarget(FTPSettings::FTP, ignorant.port()));
        QVERIFY(session.ftp.resourceExists("anything", exists));
        QVERIFY(exists); // the server cannot tell
    }

    void signalsUploadsAndNothingElse()
    {
        FtpPlay play;
        play.content = QByteArray(3 << 20, 'x');
        Session session(play);
        const QSignalSpy signalled(&session.ftp, &FTPCurl::progressUpload);
        const QSignalSpy amounts(&session.ftp, &FTPCurl::uploadProgress);
        const QSignalSpy lines(&session.ftp, &FTPCurl::infoServer);
        QByteArray data;
        QVERIFY(session.ftp.putData("", "empty", false));
        QVERIFY(session.ftp.getData("a", data));
        QCOMPARE(data, play.content);
        QVERIFY(session.server.uploaded().isEmpty());
        QVERIFY(signalled.isEmpty());
        QCOMPARE(lines.first().first().toString(), QString("220 scripted"));
        QBuffer source(&play.content);
        VFSCurlData request { VFSCurlData::Upload, &session.ftp, &source, QTime::currentTime(),
            session.ftp.generateUrl("a") };
        request.lastProgress = QTime::currentTime().addMSecs(-71);
        QCOMPARE(FTPCurl::progress(&request, 0, 0, 9, 4), 0);
        QCOMPARE(FTPCurl::progress(&request, 0, 0, 9, 8), 0); // too soon
        QCOMPARE(signalled.size(), 1);
        QCOMPARE(signalled.first().mid(1), QVariantList({ 4, 9 }));
        QCOMPARE(amounts.first(), QVariantList({ 4, 9 }));
    }

    void refusesOperationsFromItsSlots()
    {
        Session session;
        FTPCurl& ftp = session.ftp;
        bool exists = false;
        const QList<std::function<void()>> operations { [&] { ftp.close(); }, [&] { ftp.clearProperties(); },
            [&] { QVERIFY(!ftp.initHost(FtpTarget(FTPSettings::FTP, 1))); },
            [&] { QVERIFY(!ftp.resourceExists("a", exists)); },
            [&] { QVERIFY(!ftp.createDirectoryIfNecessary("a/b")); },
            [&] { QVERIFY(!ftp.removeSimpleResource("a", false)); } };
        QSet<QString> refusals;
        int turn = 0;
        connect(&ftp, &FTPCurl::infoServer, this, [&] {
            operations.at(turn++ % operations.size())();
            refusals << ftp.error().name();
        });
        QVERIFY(ftp.putData("content", "a", false));
        QVERIFY(!ftp.hasError());
        QCOMPARE(session.server.uploaded(), QByteArray("content"));
        QCOMPARE(refusals, QSet<QString>({ "REQUEST_IN_PROGRESS" }));
        QVERIFY(turn >= operations.size());
        QVERIFY(ftp.resourceExists("b", exists));
    }

    void sendsNoPasswordWithoutTls()
    {
        FtpPlay play;
        play.replies = { { "AUTH", "500 what" } };
        QByteArrayList sent;
        play.onCommand = [&sent](const QByteArray& command) { sent << command; };
        ScriptedFtpServer server(play);
        Thread interrupted;
        interrupted.requestInterruption();
        FTPCurl ftp;
        interrupted.addThreadableChild(&ftp);
        QVERIFY(!ftp.initHost(FtpTarget(FTPSettings::FTPS_EXPLICIT, server.port())));
        ftp.setThreadForInterrupt(nullptr);
        QVERIFY(!ftp.removeSimpleResource("a", false));
        QCOMPARE(ftp.error(), ErrorableCode::of(CURLE_USE_SSL_FAILED));
        QCOMPARE(sent, QByteArrayList({ "AUTH SSL", "AUTH TLS" }));
    }

    void uploadsOnlyWhatItCanRead()
    {
        Session session;
        QBuffer rest;
        rest.setData("content");
        QVERIFY(rest.open(QIODevice::ReadOnly));
        QVERIFY(rest.seek(3));
        QVERIFY(session.ftp.putDataFromIoDevice(&rest, "memory", "a"));
        QCOMPARE(session.server.uploaded(), QByteArray("tent"));
        QFile missing("/no/such");
        QVERIFY(!session.ftp.putDataFromIoDevice(&missing, "missing", "a"));
        QCOMPARE(session.ftp.error(), ErrorableCode::of(CURLE_ABORTED_BY_CALLBACK));
        QVERIFY(!session.ftp.putDataFromIoDevice(nullptr, "none", "a"));
        QFile sink(fileWith(""));
        QVERIFY(sink.open(QIODevice::WriteOnly));
        QVERIFY(!session.ftp.putDataFromIoDevice(&sink, "a sink", "a"));
        QVERIFY(!sink.isOpen());
        QCOMPARE(session.ftp.error(), ErrorableCode::of(CURLE_READ_ERROR));
        QVERIFY(session.ftp.setUploadMode(FTPCurl::TemporaryName));
        QVERIFY(!session.ftp.putDataFromIoDevice(&missing, "missing", "a"));
        QCOMPARE(session.server.commands(), QByteArrayList({ "PASV", "TYPE I", "STOR a" }));
    }

    void writesOnlyWhatArrives()
    {
        FtpPlay play;
        ScriptedFtpServer empty(play);
        play.content = "content";
        ScriptedFtpServer full(play);
        const QString target = fileWith("as it was");
        FTPCurl ftp;
        ftp.initHost(FtpTarget(FTPSettings::FTP, empty.port()));
        QVERIFY(ftp.getFile("a", target));
        QCOMPARE(FileUtils::readFileContent(target), QByteArray("as it was"));
        ftp.initHost(FtpTarget(FTPSettings::FTP, full.port()));
        QVERIFY(ftp.getFile("a", target));
        QCOMPARE(FileUtils::readFileContent(target), QByteArray("content"));
        QVERIFY(!ftp.getFile("a", "/dev/full"));
        QVERIFY(!ftp.getFile("a", "/no/such/file"));
        QCOMPARE(ftp.error(), ErrorableCode::of(CURLE_WRITE_ERROR));
    }

    void countsATimeOutAsSent()
    {
        const std::map<QByteArray, QByteArray> cases { { "STOR", FtpPlay::SILENCE }, { "after STOR", FtpPlay::SILENCE },
            { "greeting", "421 too many users" } };
        for (const auto& [at, reply] : cases) {
            FtpPlay play;
            play.replies = { { at, reply } };
            Session session(play);
            curl_easy_setopt(session.ftp.curlhandle(), CURLOPT_TIMEOUT_MS, 200L);
            QVERIFY2(session.ftp.putFile(fileWith("x"), "a", false), at);
            QVERIFY(!session.ftp.hasError());
            QCOMPARE(session.ftp.existingResourceCacheValue("a"), 1);
            QVERIFY2(!session.ftp.putData("x", "b", false), at); // that one does not
            QCOMPARE(session.ftp.error(), ErrorableCode::of(CURLE_OPERATION_TIMEDOUT));
            curl_easy_setopt(session.ftp.curlhandle(), CURLOPT_TIMEOUT_MS, 0L);
            QVERIFY(session.ftp.setStallTimeOut(1));
            QVERIFY2(!session.ftp.putFile(fileWith("x"), "a", false), at); // the stall time-out was asked for
            QCOMPARE(session.ftp.error(), ErrorableCode::of(CURLE_OPERATION_TIMEDOUT));
        }
    }

    void tellsWhenATimeIsNotKept()
    {
        FtpPlay play;
        play.replies = { { "MFMT", "500 what" }, { "MDTM", "500 what" } };
        play.content = "new";
        Session session(play);
        session.ftp.setKeepModificationTime(true);
        const QString local = fileWith("old");
        QVERIFY(!session.ftp.putFile(local, "a", false));
        QCOMPARE(session.ftp.error(), ErrorableCode::of(FTPCurl::TIME_NOT_KEPT));
        QCOMPARE(session.server.uploaded(), QByteArray("old"));
        QVERIFY(!session.ftp.getFile("a", local));
        QCOMPARE(session.ftp.error(), ErrorableCode::of(FTPCurl::TIME_NOT_KEPT));
        QCOMPARE(FileUtils::readFileContent(local), QByteArray("new"));
    }

    void tellsWhatTheServerSaid()
    {
        FtpPlay play;
        play.replies = { { "after STOR", "552 p@ss: w/rd%1 p%40ss%3A%20w%2Frd%251 has no room" } };
        Session session(play);
        QVERIFY(!session.ftp.putData("x", "a", false));
        QCOMPARE(session.ftp.serverReply(), QString("552 *** *** has no room"));
        QVERIFY(!session.ftp.errorDetail().isEmpty());
        QVERIFY(!session.ftp.putFile("/no/such", "a", false));
        QCOMPARE(FTPFailure::reasonOf(session.ftp), QString("putFile: source cant be opened /no/such"));
        QVERIFY(session.ftp.internal_mkdir("b"));
        QCOMPARE(session.ftp.serverReply(), QString("250 done"));
        QCOMPARE(session.ftp.errorDetail(), QString());
    }

    void knowsOneProvider()
    {
        FtpPlay play;
        play.replies = { { "after STOR", FtpPlay::DROP } };
        ScriptedFtpServer server(play);
        FTPCurl ftp;
        const auto session = [&](const QString& host) {
            ftp.initHost(FtpTarget(FTPSettings::FTP, server.port()).at(host));
            const QByteArray loopback = "::127.0.0.1:" + QByteArray::number(server.port());
            connectTo.reset(curl_slist_append(nullptr, loopback.constData()));
            curl_easy_setopt(ftp.curlhandle(), CURLOPT_CONNECT_TO, connectTo.get());
        };
        QBuffer device;
        device.setData("x");
        session("elsewhere.example");
        QVERIFY(!ftp.putDataFromIoDevice(&device, "x", "a"));
        QCOMPARE(ftp.error(), ErrorableCode::of(CURLE_RECV_ERROR));
        session("www.FTPPerso.provider.example");
        QVERIFY2(ftp.putDataFromIoDevice(&device, "x", "a"), qPrintable(ftp.errorMessage()));
        // It takes an unreadable file for an empty one.
        QVERIFY(!ftp.putFile("/no/such", "a", false));
        QCOMPARE(server.uploaded(), QByteArray());
        QVERIFY(ftp.errorMessage().startsWith("Can't putData to /./a"));
    }

private:
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> connectTo { nullptr, curl_slist_free_all };
};

QTEST_GUILESS_MAIN(FTPCurlTest)
#include "FTPCurlTest.moc"
