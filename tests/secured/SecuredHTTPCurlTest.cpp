#include "RealServers.h"
#include "ScriptedServer.h"

#include <tavrel/SecuredHTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <cryptography/CryptoUtils.h>
#include <foundation/FileUtils.h>
#include <secured/SecuredEnvelope.h>

#include <QtTest>

#include <future>

using Secured = SecuredHTTPCurl;

static const TavrelInitializer initializer;

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

static QByteArray sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

static QByteArray printedBy(const QString& command)
{
    QProcess shell;
    shell.start("sh", { "-c", command });
    shell.waitForFinished();
    return shell.readAllStandardOutput();
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
        {
            std::vector<std::future<void>> started(8);
            for (std::future<void>& client : started) {
                client = std::async(std::launch::async, [] { const SecuredHTTPCurl created; });
            }
        }
        const QByteArray key = FileUtils::readFileContent(SecuredHTTPCurl::keyFilePath());
        QCOMPARE(key.size(), 16);
        QCOMPARE(QFile::permissions(SecuredHTTPCurl::keyFilePath()) & 0x77, QFile::Permissions());
        QCOMPARE(QDir(mFolder->path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
        QCOMPARE(CryptoUtils::AES128_decrypt(SecuredHTTPCurl().encrypt(""), key), QByteArray("###\0\0\0\0", 7));
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
        const auto opened
            = [](const QByteArray& envelope) { return SecuredEnvelope::open(envelope + "abc").value_or("refused"); };
        const auto length = [](const char* hex) { return "###" + QByteArray::fromHex(hex); };
        QCOMPARE(opened(length("02000000")), QByteArray("ab"));
        QCOMPARE(opened(length("0a000000")), "abc" + QByteArray(7, 0));
        QCOMPARE(opened(length("03000001")), "abc" + QByteArray(16 << 20, 0));
        QCOMPARE(opened(length("04000001")), QByteArray("refused"));
        QCOMPARE(opened(length("ffffffff")), QByteArray());
        QCOMPARE(opened("##!1234"), QByteArray("refused"));
        QCOMPARE(opened("###"), QByteArray("refused"));
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

    void takesRsaKeysOnly_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("RSA") << "openssl genrsa 1024 | openssl rsa -pubout" << true;
        QTest::newRow("RSA in its older form") << "openssl genrsa 2048 | openssl rsa -RSAPublicKey_out" << true;
        QTest::newRow("too small") << "openssl genrsa 1023 | openssl rsa -pubout" << false;
        QTest::newRow("elliptic") << "openssl ecparam -genkey -name prime256v1 | openssl ec -pubout" << false;
        QTest::newRow("private") << "openssl genrsa 1024" << false;
        QTest::newRow("without end") << "openssl genrsa 1024 | openssl rsa -pubout | head -n 4" << false;
        QTest::newRow("text") << "yes | head -c 1000000" << false;
    }
    void takesRsaKeysOnly()
    {
        QFETCH(QString, command);
        QFETCH(bool, isTaken);
        CryptoUtils::RSACipher cipher(1024);
        QVERIFY(cipher.encrypt("text").isNull());
        QCOMPARE(cipher.setPublicKey(printedBy(command)), isTaken);
        QCOMPARE(cipher.encrypt("text").size() >= 128, isTaken);
    }

    void judgesTheHandshake_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("message");
        const auto row = [](const QByteArray& body, Secured::Error error, const char* message) {
            QTest::newRow(body.left(60)) << body << int(error) << message;
        };
        row("", Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Null response!!");
        row("{", Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Couldn't parse response!!\n");
        row(QByteArray(1 << 20, '['), Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Couldn't parse response!!\n");
        row("[]", Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Wrong json format");
        row(json("{'success':'true','data':{}}"), Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Wrong json format");
        row(json("{'success':true}"), Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "Wrong json format");
        row(json("{'success':false,'data':{'upload_max_filesize':1}}"), Secured::SECURED_PROTOCOL_ERROR_LAMBDA,
            "request rejected by server");
        row(json("{'success':false,'data':'upload_max_filesize!'}"), Secured::SECURED_PROTOCOL_ERROR_UPLOAD,
            "upload_max_filesize");
        row(json("{'success':true,'data':{'pubkey':1}}"), Secured::PUBLIC_KEY_ERROR, "");
    }
    void judgesTheHandshake()
    {
        QFETCH(QByteArray, body);
        ScriptedServer server(page(body));
        SecuredHTTPCurl client;
        QVERIFY(!client.handshake(server.url()));
        QVERIFY(client.response().isEmpty());
        QCOMPARE(client.error().typeName(), QString("SecuredHTTPCurl::Error"));
        QVERIFY(client.error().location().contains("SecuredHTTPCurl:"));
        QTEST(client.error().value(), "error");
        QTEST(client.errorMessage(), "message");
        QVERIFY(server.requests().at(0).contains("get_pubkey"));
        QVERIFY(!client.postForm(server.url(), { { "secret", 1 } })); // encrypted again
        QVERIFY(!server.requests().last().contains("secret"));
        QVERIFY(!client.handshake(QString()));
        QCOMPARE(client.error(), ErrorableCode::of(HTTPCurl::EMPTY_URL));
        client.setCryptedMode(false);
        QVERIFY(client.handshake(QString()));
    }

    void judgesReplies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("message"); // %1 stands for the body
        const auto row = [](const QByteArray& body, Secured::Error error, const char* message) {
            QTest::newRow(body) << body << int(error) << message;
        };
        row(json("{'success':false}"), Secured::SECURED_PROTOCOL_ERROR_LAMBDA, "ERROR : %1");
        row(json("{'success':false,'data':{'error_message':'#NO_SESSION# '}}"), Secured::SECURED_PROTOCOL_ERROR_LAMBDA,
            "ERROR : %1");
        row(json("{'success':true,'data':{}}"), Secured::CRYPTO_FORMAT, "Crypto WRONG FORMAT");
        row("", Secured::CRYPTO_FORMAT, "Crypto WRONG FORMAT");
        row(QByteArray("long enough to be a cipher, with a NUL: \0 and more", 49), Secured::CRYPTO_FORMAT,
            "Crypto WRONG FORMAT");
    }
    void judgesReplies()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        if (!message.contains("%1")) {
            const QByteArray logged = message.toUtf8() + "\nLOG:" + QByteArray(body).replace('\0', "\\x00");
            QTest::ignoreMessage(QtDebugMsg, logged.constData());
        }
        ScriptedServer server(page(body));
        SecuredHTTPCurl client;
        QVERIFY(!client.postForm(server.url(), {}, "file", true));
        QTEST(client.error().value(), "error");
        QCOMPARE(client.errorMessage(), message.replace("%1", body));
        QCOMPARE(client.response() + client.binaryResponse(), QByteArray());
        QCOMPARE(server.requests().size(), 1);
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
    }

private:
    std::unique_ptr<QTemporaryDir> mFolder;
};

QTEST_GUILESS_MAIN(SecuredHTTPCurlTest)
#include "SecuredHTTPCurlTest.moc"
