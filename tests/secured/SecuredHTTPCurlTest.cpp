#include "RealServers.h"
#include "ScriptedServer.h"
#include "TestProgram.h"

#include <tavrel/SecuredHTTPCurl.h>

#include <cryptography/CryptoUtils.h>
#include <secured/SecuredEnvelope.h>

#include <future>

using Secured = SecuredHTTPCurl;
/// A body, the error that it causes, and the message.
using Case = std::tuple<QByteArray, Secured::Error, QString>;

/// JSON is written with single quotes here.
static QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

static ScriptedServer::Script page(const QByteArray& body)
{
    return ScriptedServer::replying(
        "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
}

static int residentPages()
{
    return FileUtils::readFileContent("/proc/self/statm").split(' ').at(1).toInt();
}

static QByteArray sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

class SecuredHTTPCurlTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mFolder = std::make_unique<QTemporaryDir>();
        HTTPCurl::setCookiepath(mFolder->path());
        SecuredHTTPCurl::setKeypath(mFolder->path() + '/');
    }

    void keepsOneKeyPerFolder()
    {
        std::vector<std::future<void>> started(8);
        for (std::future<void>& client : started) {
            client = std::async(std::launch::async, [] { const SecuredHTTPCurl created; });
        }
        started.clear(); // waits for them
        const QByteArray key = FileUtils::readFileContent(SecuredHTTPCurl::keyFilePath());
        QCOMPARE(key.size(), 16);
        QCOMPARE(QFile::permissions(SecuredHTTPCurl::keyFilePath()) & 0x77, QFile::Permissions());
        const QFile::Permissions shared(0x6644);
        QVERIFY(QFile::setPermissions(SecuredHTTPCurl::keyFilePath(), shared)); // somebody's decision
        QCOMPARE(QDir(mFolder->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
        QCOMPARE(CryptoUtils::AES128_decrypt(SecuredHTTPCurl().encrypt(""), key), QByteArray("###\0\0\0\0", 7));
        QCOMPARE(QFile::permissions(SecuredHTTPCurl::keyFilePath()), shared);
        QVERIFY(QFile::rename(SecuredHTTPCurl::keyFilePath(), mFolder->filePath("key")));
        QVERIFY(QFile::link("key", SecuredHTTPCurl::keyFilePath()));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("AES key not used"));
        const QByteArray cipher = SecuredHTTPCurl().encrypt("");
        QVERIFY(!cipher.isEmpty() && CryptoUtils::AES128_decrypt(cipher, key).isEmpty());
        QCOMPARE(FileUtils::readFileContent(mFolder->filePath("key")), key);
        QVERIFY(SecuredHTTPCurl::clearLocalKey());
        QVERIFY(!SecuredHTTPCurl::clearLocalKey());
        SecuredHTTPCurl::setKeypath(mFolder->filePath("prefix"));
        QVERIFY(SecuredHTTPCurl::keyFilePath().endsWith("/prefixaes_key.txt"));
    }

    void agreesWithTheExampleOfTheDocument()
    {
        QMap<QString, QString> example;
        for (const QString& line :
            QString(FileUtils::readFileContent(SOURCE_DIR "/docs/SECURED-PROTOCOL.md")).split('\n')) {
            const QStringList cells = line.split('|');
            example.insert(cells.value(1).trimmed(), cells.value(2).trimmed().remove('`'));
        }
        const QByteArray key = QByteArray::fromHex(example["key"].toLatin1());
        const QByteArray cipher = QByteArray::fromHex(example["encrypted message"].toLatin1());
        const QByteArray payload = example["payload (text)"].toUtf8();
        QCOMPARE(CryptoUtils::AES128_decrypt(cipher, key).toHex(), example["envelope"].toLatin1());
        QCOMPARE(SecuredEnvelope::open(CryptoUtils::AES128_decrypt(cipher, key)).value_or(""), payload);
        QCOMPARE(cipher.toBase64(), example["encrypted message in Base64 (text)"].toLatin1());
    }

    void opensEnvelopes()
    {
        const QList<QPair<QByteArray, QByteArray>> cases { { "02000000", "ab" },
            { "0a000000", "abc" + QByteArray(7, 0) }, { "03000001", "abc" + QByteArray(16 << 20, 0) },
            { "04000001", "abc" + QByteArray((16 << 20) + 1, 0) }, { "ffffffff", "" }, { "00000080", "" },
            { "", "refused" } };
        for (const auto& row : cases) {
            const QByteArray envelope = "###" + QByteArray::fromHex(row.first) + "abc";
            QCOMPARE(SecuredEnvelope::open(envelope).value_or("refused"), row.second);
        }
        QCOMPARE(SecuredEnvelope::open("##!1234abc").value_or("refused"), QByteArray("refused"));
        const int before = residentPages();
        const QByteArray lie = SecuredEnvelope::open(QByteArray("###\0\0\0\x40"
                                                                "abc",
                                                         10))
                                   .value_or("refused");
        QCOMPARE(lie.size(), 1 << 30);
        QCOMPARE(lie.left(4) + lie.right(2), QByteArray("abc\0\0\0", 6));
        QVERIFY(!SecuredEnvelope::open(QByteArray("###\3\0\0\0abc", 10), 2));
        QVERIFY2(residentPages() - before < 1 << 12, "takes memory that nobody has touched");
    }

    void ciphersAreGenuineOrNothing()
    {
        const QByteArray key = CryptoUtils::generateRandomKey(128);
        const QByteArray cipher = CryptoUtils::AES128_encrypt("text", key);
        QCOMPARE(CryptoUtils::AES128_decrypt(cipher, key), QByteArray("text"));
        QCOMPARE(cipher.size(), 12 + 4 + 16);
        QVERIFY(cipher != CryptoUtils::AES128_encrypt({ "te", "xt" }, key));
        for (int bit = 0; bit < cipher.size() * 8; ++bit) {
            QByteArray changed = cipher;
            changed[bit / 8] = char(changed.at(bit / 8) ^ (1 << bit % 8));
            QVERIFY(CryptoUtils::AES128_decrypt(changed, key).isNull());
            QVERIFY(CryptoUtils::AES128_decrypt(cipher.left(bit / 8), key).isNull());
        }
        QVERIFY(CryptoUtils::AES128_decrypt(cipher, CryptoUtils::generateRandomKey(128)).isNull());
        QVERIFY(CryptoUtils::AES128_encrypt("text", key + 'x').isNull());
        QVERIFY(CryptoUtils::generateRandomKey(-8).isEmpty());
    }

    void takesRsaKeysOnly()
    {
        const QList<QPair<QString, bool>> cases { { "openssl genrsa 1024 | openssl rsa -pubout", true },
            { "openssl genrsa 2048 | openssl rsa -RSAPublicKey_out", true },
            { "openssl genrsa 1023 | openssl rsa -pubout", false },
            { "openssl ecparam -genkey -name prime256v1 | openssl ec -pubout", false },
            { "openssl genrsa 1024", false }, { "openssl genrsa 1024 | openssl rsa -pubout | head -n 4", false },
            { "yes | head -c 1000000", false } };
        for (const auto& row : cases) {
            QProcess shell;
            shell.start("sh", { "-c", row.first });
            QVERIFY(shell.waitForFinished());
            CryptoUtils::RSACipher cipher(1024);
            QVERIFY(cipher.encrypt("text").isNull());
            QVERIFY2(cipher.setPublicKey(shell.readAllStandardOutput()) == row.second, qPrintable(row.first));
            QCOMPARE(cipher.encrypt("text").size() >= 128, row.second);
        }
    }

    void judgesTheHandshake()
    {
        const auto rejection = Secured::SECURED_PROTOCOL_ERROR_LAMBDA;
        const std::vector<Case> cases { { "", rejection, "Null response!!" },
            { "{", rejection, "Couldn't parse response!!\n" },
            { QByteArray(1 << 20, '['), rejection, "Couldn't parse response!!\n" },
            { "[]", rejection, "Wrong json format" },
            { "{'success':'true','data':{}}", rejection, "Wrong json format" },
            { "{'success':true}", rejection, "Wrong json format" },
            { "{'success':false,'data':{'upload_max_filesize':1}}", rejection, "request rejected by server" },
            { "{'success':false,'data':'upload_max_filesize!'}", Secured::SECURED_PROTOCOL_ERROR_UPLOAD,
                "upload_max_filesize" },
            { "{'success':true,'data':{'pubkey':1}}", Secured::PUBLIC_KEY_ERROR, "" } };
        SecuredHTTPCurl client;
        for (const auto& [body, error, message] : cases) {
            ScriptedServer server(page(json(body)));
            QVERIFY2(!client.handshake(server.url()), body.left(60));
            QCOMPARE(client.response(), json(body));
            QCOMPARE(client.error(), ErrorableCode::of(error));
            QVERIFY(client.error().location().contains("SecuredHTTPCurl:"));
            QCOMPARE(client.errorMessage(), message);
            QVERIFY(server.requests().at(0).contains("get_pubkey"));
            QVERIFY(!client.postForm(server.url(), { { "secret", 1 } })); // encrypted again
            QVERIFY(!server.requests().last().contains("secret"));
        }
        QVERIFY(!client.handshake(QString()));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::EMPTY_URL));
        client.setCryptedMode(false);
        QVERIFY(client.handshake(QString()));
    }

    void judgesReplies()
    {
        const auto rejection = Secured::SECURED_PROTOCOL_ERROR_LAMBDA;
        const QString format = "Crypto WRONG FORMAT";
        const std::vector<Case> cases { { "{'success':false}", rejection, "" },
            { "{'success':false,'data':{'error_message':'#NO_SESSION# '}}", rejection, "" },
            { "{'success':true,'data':{}}", Secured::CRYPTO_FORMAT, format }, { "", Secured::CRYPTO_FORMAT, format },
            { { "long enough to be a cipher, with a NUL: \0 and\nmore", 49 }, Secured::CRYPTO_FORMAT, format },
            { QByteArray("é").repeated(9 << 20).prepend('x'), Secured::CRYPTO_FORMAT, format } };
        for (const auto& [text, error, message] : cases) {
            const QByteArray body = json(text);
            if (!message.isEmpty()) {
                const QByteArray shown = body.size() < 1 << 24 ? body : body.left((1 << 24) - 1) + "… (18874369 bytes)";
                const QByteArray logged
                    = message.toUtf8() + "\nLOG:" + QByteArray(shown).replace('\0', "\\x00").replace('\n', "\\x0a");
                QTest::ignoreMessage(QtDebugMsg, logged.constData());
            }
            ScriptedServer server(page(body));
            SecuredHTTPCurl client;
            QVERIFY2(!client.postForm(server.url(), {}, "file", true), body);
            QCOMPARE(client.error(), ErrorableCode::of(error));
            QCOMPARE(client.errorMessage(), message.isEmpty() ? "ERROR : " + body : message);
            QCOMPARE(client.response() + client.binaryResponse(), QByteArray());
            QCOMPARE(server.requests().size(), 1);
        }
    }

    void recoversFromALostSessionOnce()
    {
        ScriptedServer server(page(json("{'success':false,'data':{'error_message':'#NO_SESSION#'}}")));
        SecuredHTTPCurl client;
        QVERIFY(!client.postForm(server.url(), {}));
        QCOMPARE(client.errorMessage(), QString("request rejected by server"));
        QCOMPARE(server.requests().size(), 2);
        QVERIFY(server.requests().at(1).contains("get_pubkey"));
    }

    void talksToTheServiceInPhp()
    {
        const RealServers servers({ "php" }, SOURCE_DIR "/examples/secured-service/index.php");
        const QByteArray file = QByteArray("\0\r\n#", 4).repeated(1 << 18);
        SecuredHTTPCurl client;
        // Refused within a request, which is not disturbed.
        connect(&client, &HTTPCurl::progress, this, [&] { client.handshake(servers.php()); });
        QVERIFY(client.handshake(servers.php()));
        QVERIFY(client.postForm(servers.php(), { { "name", "é" } }, file, true));
        QCOMPARE(client.binaryResponse(), QByteArray("\0\1binary\xff", 9));
        const QByteArray received = client.response();
        QVERIFY2(received.startsWith(json("{'received':{'name':'é'}")), received);
        QVERIFY2(received.contains(sha256(file)), received);
        HTTPCurl::clearLocalSessionCookie();
        QVERIFY(client.postForm(servers.php(), { { "again", true } }, client.response(), false));
        QVERIFY2(client.response().contains(sha256(received)), client.response());
        client.setCryptedMode(false);
        QVERIFY(client.postForm(servers.php(), {}));
        QVERIFY(client.response().contains("could not be decrypted"));
        QVERIFY(FileUtils::writeFileContent(servers.file("service.pem"), "no key"));
        QVERIFY(client.postForm(servers.php(), { { "handshake", "get_pubkey" } }));
        QVERIFY2(!client.response().contains("service.pem"), client.response());
    }

private:
    std::unique_ptr<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(SecuredHTTPCurlTest)
#include "SecuredHTTPCurlTest.moc"
