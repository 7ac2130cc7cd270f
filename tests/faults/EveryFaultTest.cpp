#include "FtpTarget.h"
#include "ScriptedFtpServer.h"
#include "TestProgram.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FileDownloader.h>
#include <tavrel/SecuredHTTPCurl.h>

static constexpr int WAYS = 3; // of a Fault
static constexpr int WORKERS = 8; // most of the time they wait
static constexpr qint64 MAX_RETURN_MS = 300;
static const QByteArray CONTENT = "0123456789";
static const QByteArray OLD_CONTENT = "a good file";
static const QJsonObject POSTED { { "secret", "plaintext of a post" } };
static const QByteArray ECHO = QJsonDocument(POSTED).toJson();
static const char* const PUBLIC_KEY = "-----BEGIN PUBLIC KEY-----\n"
                                      "MIGfMA0GCSqGSIb3DQEBAQUAA4GNADCBiQKBgQCv0DE1C6DRkZMFko4n5DYJIH6K\n"
                                      "Vodjh3vcocxN2qpKajhndMtV6uQkkbTO+fFBlFmRzcXCyIwlCdno41FWoBoGr8Q3\n"
                                      "Lcj3EfvR72xYtnpUSyiVXsy9ZZ5KhicwpEsa8M4o2A0PZeTOQS0ufNU6CNtKbhmC\n"
                                      "u00W9O/bSqdvO6B3HQIDAQAB\n-----END PUBLIC KEY-----\n";

static QElapsedTimer testClock;
static std::mutex mutex;
static QStringList problems;
static QStringList told; // log entries and error messages

static void note(QStringList& list, const QString& text)
{
    const std::lock_guard<std::mutex> guard(mutex);
    list << text;
}

static QByteArray page(const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// A new client and its calls, each of which is true when the client reports success.
struct Session
{
    ScriptedServer& server;
    Thread& owner;
    std::function<QString()> error;
    std::vector<std::function<bool()>> calls;
};

/// The servers of one worker, and the sessions with them.
struct Bench
{
    struct : Thread
    {
        using Thread::clearInterruption;
    } thread;
    QTemporaryDir folder;
    const QString local = folder.filePath("file");
    const SecuredHTTPCurl service; // shares the key file, and so the AES key, with the clients
    bool isSound = true; // files are whole, and results belong to the success that is reported
    std::atomic<bool> isMade { false }; // the directory a/b
    ScriptedFtpServer ftpServer { ftpPlay() };
    ScriptedServer httpServer { [this](ScriptedServer& server, QTcpSocket& socket) {
        QByteArray request = server.readRequest(socket);
        while (!request.isEmpty() && server.send(socket, answer(request))) {
            request = server.readRequest(socket);
        }
    } };

    FtpPlay ftpPlay()
    {
        FtpPlay play;
        play.content = CONTENT;
        play.listing = [](const QByteArray&) { return "-rw-r--r-- 1 a b 10 Jan 1 2020 f\r\n"; };
        play.replies = { { "CWD a", "550 no" }, { "CWD a/b", "550 no" } };
        play.isDue = [this] { return !isMade; };
        // To create it again is no error: a client that misses the reply takes the directory for missing.
        play.onCommand = [this](const QByteArray& command) {
            if (command == "MKD a/b") {
                isMade = true;
            }
        };
        return play;
    }
    QByteArray opened(const QByteArray& base64) const
    {
        return service.decrypt(QByteArray::fromBase64(base64), false).mid(7);
    }
    /// A post gets back what was posted, encrypted if it was.
    QByteArray answer(const QByteArray& request) const
    {
        if (request.startsWith("GET")) {
            const bool isMoved = request.startsWith("GET /moved");
            return isMoved ? "HTTP/1.1 302 Found\r\nLocation: /page\r\nContent-Length: 0\r\n\r\n" : page(CONTENT);
        }
        const int start = request.indexOf("\r\n\r\n", request.indexOf("data_json")) + 4;
        const QByteArray field = request.mid(start, request.indexOf("\r\n--", start) - start);
        const QJsonObject json = QJsonDocument::fromJson(field).object();
        if (!json.contains("handshake")) {
            return page(json.isEmpty() ? service.encrypt(opened(field)) : field);
        }
        const QString test = opened(json["aes_test"].toString().toLatin1());
        const QJsonObject data { { "pubkey", PUBLIC_KEY }, { "res", test } };
        return page(QJsonDocument(QJsonObject { { "success", true }, { "data", data } }).toJson());
    }

    bool expect(bool isRight)
    {
        isSound = isSound && isRight;
        return true;
    }
    bool isFetched() { return expect(FileUtils::readFileContent(local) == CONTENT); }

    template <class Client>
    Session session(ScriptedServer& server, const std::vector<std::function<bool(Client&)>>& calls)
    {
        const auto client = std::make_shared<Client>();
        thread.addThreadableChild(client.get());
        Session session { server, thread, [client] { return client->errorMessage(); }, {} };
        for (const auto& call : calls) {
            session.calls.emplace_back([=] { return call(*client); });
        }
        return session;
    }
    Session ftp()
    {
        isMade = false;
        return session<FTPCurl>(ftpServer.connections(),
            { [=](FTPCurl& ftp) { return ftp.initHost(FtpTarget(FTPSettings::FTP, ftpServer.port())); },
                [](FTPCurl& ftp) { return ftp.createDirectory("a/b"); },
                [=](FTPCurl& ftp) {
                    return ftp.putFile(local, "a/b/f", true) && expect(ftpServer.uploaded() == OLD_CONTENT);
                },
                [](FTPCurl& ftp) { return ftp.list("a/b", *std::make_unique<VirtualFileList>()); },
                [=](FTPCurl& ftp) { return ftp.getFile("a/b/f", local) && isFetched(); },
                [](FTPCurl& ftp) { return ftp.removeResource("a/b"); } });
    }
    template <class Client> bool post(Client& client)
    {
        return client.postForm(httpServer.url(), POSTED) && expect(client.response() == ECHO);
    }
    Session http()
    {
        return session<HTTPCurl>(httpServer,
            { [=](HTTPCurl& http) { return http.getFile(httpServer.url(), local) && isFetched(); },
                [=](HTTPCurl& http) { return http.getFile(httpServer.url() + "moved", local) && isFetched(); },
                [=](HTTPCurl& http) { return post(http); } });
    }
    Session secured()
    {
        return session<SecuredHTTPCurl>(httpServer,
            { [=](SecuredHTTPCurl& client) { return client.handshake(httpServer.url()); },
                [=](SecuredHTTPCurl& client) { return post(client); } });
    }
    Session download()
    {
        const auto client = std::make_shared<FileDownloader>();
        const auto fetch = [=] {
            QFile::remove(local);
            client->download(httpServer.url() + "moved", local);
            client->wait();
            const bool success = client->errorText().isEmpty();
            expect(success ? isFetched() : QDir(folder.path()).isEmpty());
            return success;
        };
        return { httpServer, *client, [client] { return client->errorText(); }, { fetch } };
    }

    /// How much the server has sent at the end of each call, until one fails.
    std::vector<qint64> play(const Session& session)
    {
        FileUtils::writeFileContent(local, OLD_CONTENT);
        std::vector<qint64> ends;
        while (ends.size() < session.calls.size() && session.calls[ends.size()]()) {
            ends.push_back(session.server.sent());
        }
        const QByteArray left = FileUtils::readFileContent(local);
        expect(left == OLD_CONTENT || CONTENT.startsWith(left));
        return ends;
    }
    struct Outcome
    {
        size_t done = 0; ///< calls that succeeded
        size_t doneNext = 0; ///< the same on the same object, with a server that behaves
        qint64 took = 0; ///< ms from the fault to the end of the call
        QString error;
    };
    Outcome playTwice(const Session& session, int at, Fault::Way way)
    {
        std::atomic<qint64> brokenAt { 0 };
        const auto onBreak = [&] {
            brokenAt = testClock.elapsed();
            if (way == Fault::Silence) {
                session.owner.requestInterruption();
            }
        };
        Outcome outcome;
        session.server.setFault({ way, at, onBreak });
        outcome.done = play(session).size();
        outcome.took = testClock.elapsed() - brokenAt;
        session.server.setFault();
        outcome.error = session.error();
        note(told, outcome.error);
        thread.clearInterruption();
        outcome.doneNext = play(session).size();
        return outcome;
    }
    /// Plays a session that breaks at a byte, and checks what comes of it.
    void playBroken(const std::function<Session()>& open, int at, Fault::Way way, const std::vector<qint64>& ends)
    {
        Outcome outcome = playTwice(open(), at, way);
        // A stall of the machine does not happen twice.
        if (outcome.took > MAX_RETURN_MS) {
            outcome = playTwice(open(), at, way);
        }

        // All of a call has arrived before the byte, or just then.
        const auto least = size_t(std::lower_bound(ends.begin(), ends.end(), at) - ends.begin());
        const auto most = size_t(std::upper_bound(ends.begin(), ends.end(), at) - ends.begin());
        const bool isRight = outcome.done >= least && outcome.done <= most && !outcome.error.isEmpty()
            && outcome.doneNext == ends.size();
        if (!isRight || outcome.took > MAX_RETURN_MS || !isSound) {
            const QString text = "byte %1, way %2: %3 calls succeed, %4 ms, error \"%5\", then %6, sound: %7";
            note(problems,
                text.arg(QString::number(at), QString::number(way), QString::number(outcome.done),
                    QString::number(outcome.took), outcome.error, QString::number(outcome.doneNext),
                    QString::number(isSound)));
        }
        isSound = true;
    }
};

class EveryFaultTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        testClock.start();
        HTTPCurl::setCookiepath(mFolder.path());
        SecuredHTTPCurl::setKeypath(mFolder.path() + '/');
        const QByteArray key = "16 bytes of text"; // so that a log entry cannot hide it behind a NUL
        QVERIFY(FileUtils::writeFileContent(SecuredHTTPCurl::keyFilePath(), key));
        const QString password = FtpTarget(FTPSettings::FTP, 0).pwd();
        mSecrets = QStringList { password, QUrl::toPercentEncoding(password), POSTED["secret"].toString(), key,
            key.toBase64(), key.toHex() };
    }
    void overFtp() { breakEverywhere(&Bench::ftp); }
    void overHttp() { breakEverywhere(&Bench::http); }
    void inTheSecuredProtocol() { breakEverywhere(&Bench::secured); }
    void inTheBackground() { breakEverywhere(&Bench::download); }

private:
    void breakEverywhere(Session (Bench::*open)())
    {
        problems.clear();
        told.clear();
        Bench bench;
        const Session unbroken = (bench.*open)();
        const std::vector<qint64> ends = bench.play(unbroken);
        QCOMPARE(ends.size(), unbroken.calls.size());

        const auto handler = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { note(told, text); });
        const int count = int(ends.back()) * WAYS;
        std::atomic<int> next { 0 };
        std::vector<std::future<void>> workers(WORKERS);
        for (std::future<void>& worker : workers) {
            worker = std::async(std::launch::async, [&] {
                Bench own;
                for (int i = next.fetch_add(STRIDE); i < count; i = next.fetch_add(STRIDE)) {
                    own.playBroken([&] { return (own.*open)(); }, i / WAYS, Fault::Way(i % WAYS), ends);
                }
            });
        }
        workers.clear(); // waits for them
        qInstallMessageHandler(handler);
        qInfo("%d bytes, broken in %d ways; tried is one case in %d", count / WAYS, WAYS, STRIDE);
        for (const QString& secret : mSecrets) {
            QCOMPARE(told.filter(secret), QStringList());
        }
        QVERIFY2(problems.isEmpty(), qPrintable(problems.mid(0, 10).join('\n')));
    }

    QTemporaryDir mFolder;
    QStringList mSecrets;
};

QTEST_GUILESS_MAIN(EveryFaultTest)
#include "EveryFaultTest.moc"
