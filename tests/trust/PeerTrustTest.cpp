#include "FtpTarget.h"
#include "RealServers.h"
#include "ScriptedServer.h"
#include "TestProgram.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/HTTPCurl.h>

#include <QSslKey>
#include <QSslSocket>

#include <condition_variable>
#include <sys/file.h>
#include <unistd.h>

enum Protocol { HTTPS = 0, FTPS_EXPLICIT = FTPSettings::FTPS_EXPLICIT, FTPS_IMPLICIT = FTPSettings::FTPS_IMPLICIT };

static const QString OTHER_KEY = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAAIOMqqnkVzrm0SdG6UOoqKLsabgH5C9okWi0dh2l9GKJl";

static QString fingerprintOf(const QString& certificate)
{
    const QByteArray key = QSslCertificate::fromPath(certificate).first().publicKey().toDer();
    return "sha256//" + QCryptographicHash::hash(key, QCryptographicHash::Sha256).toBase64();
}

/// A TLS server with a certificate for another host. It keeps the first bytes that a client sends within TLS.
class Interceptor
{
public:
    /// files is the path of certificate and key without ".pem" and ".key".
    Interceptor(Protocol protocol, const QString& files)
        : mProtocol(protocol)
        , mFiles(files)
        , mServer([this](ScriptedServer&, QTcpSocket& socket) { intercept(socket); })
    {
    }

    quint16 port() const { return mServer.port(); }
    /// Waits for the end of a connection.
    QByteArray heard()
    {
        std::unique_lock<std::mutex> lock(mMutex);
        const bool isEnded = mEnded.wait_for(lock, std::chrono::seconds(5), [this] { return !mHeard.isEmpty(); });
        return isEnded ? mHeard.takeFirst() : "no connection";
    }

private:
    void intercept(QTcpSocket& socket)
    {
        if (mProtocol == FTPS_EXPLICIT) {
            socket.write("220 scripted\r\n");
            socket.waitForReadyRead(5000);
            socket.readAll(); // "AUTH SSL"
            socket.write("234 go on\r\n");
            socket.waitForBytesWritten();
        }
        QSslSocket tls;
        tls.setSocketDescriptor(dup(int(socket.socketDescriptor())));
        tls.setLocalCertificate(mFiles + ".pem");
        tls.setPrivateKey(mFiles + ".key", QSsl::Ec);
        tls.startServerEncryption();
        if (tls.waitForEncrypted(5000)) {
            tls.write(mProtocol == FTPS_IMPLICIT ? "220 scripted\r\n" : "");
            while (tls.bytesAvailable() == 0 && tls.state() == QTcpSocket::ConnectedState) {
                tls.waitForReadyRead(20);
            }
        }
        const std::lock_guard<std::mutex> guard(mMutex);
        mHeard << (tls.isOpen() ? tls.readAll() : QByteArray());
        mEnded.notify_one();
    }

    Protocol mProtocol;
    QString mFiles;
    std::mutex mMutex;
    std::condition_variable mEnded;
    QByteArrayList mHeard;
    ScriptedServer mServer;
};

class PeerTrustTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        HTTPCurl::setCookiepath(mFolder.path());
        makeCertificate("forged", "IP:127.0.0.1");
        makeCertificate("stranger", "DNS:other.example");
        QVERIFY(FileUtils::writeFileContent(mServers.served("page"), "page"));
        mOwnPin = fingerprintOf(mServers.file("cert.pem"));
        mOtherPin = fingerprintOf(path("forged.pem"));
    }

    void acceptsCertificates_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("authorities"); // a file, or "system"
        QTest::addColumn<QString>("pin"); // "own" or "other"
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("codeOfInterceptor");
        for (const int protocol : { HTTPS, FTPS_EXPLICIT, FTPS_IMPLICIT }) {
            const auto row = [protocol](const char* name, const char* authorities, const char* pin, int code,
                                 int codeOfInterceptor) {
                QTest::addRow("%s, %d", name, protocol) << protocol << authorities << pin << code << codeOfInterceptor;
            };
            const int refused = CURLE_PEER_FAILED_VERIFICATION;
            row("by its authority", "own", "", 0, refused);
            row("by its key", "", "own", 0, CURLE_SSL_PINNEDPUBKEYNOTMATCH);
            row("by both", "own", "own", 0, refused);
            row("not with another key", "own", "other", CURLE_SSL_PINNEDPUBKEYNOTMATCH, refused);
            row("not signed by itself", "system", "", refused, refused);
        }
    }
    void acceptsCertificates()
    {
        QFETCH(int, protocol);
        QFETCH(QString, authorities);
        QFETCH(QString, pin);
        QFETCH(int, code);
        QFETCH(int, codeOfInterceptor);
        PeerTrust trust;
        if (!authorities.isEmpty()) {
            const QString file = authorities == "own" ? mServers.file("cert.pem") : path("forged.pem");
            const bool isSystem = authorities == "system";
            QVERIFY(trust.setCertificateAuthorities(
                isSystem ? PeerTrust::System : PeerTrust::File, isSystem ? QString() : file));
        }
        if (!pin.isEmpty()) {
            QVERIFY(trust.pinPublicKey(pin == "own" ? mOwnPin : mOtherPin));
        }
        const int port = protocol == HTTPS ? QUrl(mServers.https("")).port()
            : protocol == FTPS_EXPLICIT    ? mServers.ftp().port
                                           : mServers.ftps().port;
        QString message;
        QCOMPARE(request(protocol, port, trust, message), code);
        QVERIFY2(code == 0 || message.contains("the server showed " + mOwnPin), qPrintable(message));
        QVERIFY2(code == 0 || pin.isEmpty() || message.contains("the public key " + mOtherPin), qPrintable(message));

        Interceptor interceptor(Protocol(protocol), path("forged"));
        QCOMPARE(request(protocol, interceptor.port(), trust, message), codeOfInterceptor);
        QCOMPARE(interceptor.heard(), QByteArray());
        QVERIFY2(message.contains("the server showed " + mOtherPin), qPrintable(message));
        request(protocol, interceptor.port(), PeerTrust(), message);
        QVERIFY(interceptor.heard().startsWith(protocol == HTTPS ? "GET" : "USER"));
    }

    void refusesACertificateOfAnotherHost()
    {
        PeerTrust trust;
        QVERIFY(trust.pinPublicKey(fingerprintOf(path("stranger.pem"))));
        for (const Protocol protocol : { HTTPS, FTPS_EXPLICIT, FTPS_IMPLICIT }) {
            Interceptor interceptor(protocol, path("stranger"));
            QString message;
            QCOMPARE(request(protocol, interceptor.port(), trust, message), int(CURLE_PEER_FAILED_VERIFICATION));
            QVERIFY2(message.endsWith("(the certificate is for another host)"), qPrintable(message));
            QCOMPARE(interceptor.heard(), QByteArray());
        }
    }

    void knowsHosts_data()
    {
        QTest::addColumn<QString>("content"); // of the file; NAME and KEY are those of the server
        QTest::addColumn<bool>("acceptsNew");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("expected");
        const int refused = CURLE_PEER_FAILED_VERIFICATION;
        QTest::newRow("a known one") << "NAME KEY" << false << 0 << "";
        QTest::newRow("a hashed name") << "HASH KEY" << false << 0 << "";
        QTest::newRow("a pattern, after lines of other kinds")
            << "\n# [x\n@cert-authority * KEY\nodd\n!*.9,[127.0.0.?]:* KEY me\n"
            << false << 0 << "";
        QTest::newRow("the name without a port") << "127.0.0.1 KEY" << false << 0 << "";
        QTest::newRow("a new one") << "[127.0.0.1]:9 OTHER" << true << 0 << "";
        QTest::newRow("not an unknown one") << "[127.0.0.1]:9 KEY" << false << refused << "which has none";
        QTest::newRow("not with a revoked key") << "NAME KEY\n@revoked * KEY" << true << refused << "is revoked";
        QTest::newRow("not with a changed key") << "HASH CHANGED" << true << refused << "the key SHA256:";
        // The server has no key of this type to show.
        QTest::newRow("not without the known type") << "NAME OTHER" << true << int(CURLE_FAILED_INIT) << "showed none";
    }
    void knowsHosts()
    {
        QFETCH(QString, content);
        QFETCH(bool, acceptsNew);
        QFETCH(int, code);
        QFETCH(QString, expected);
        const FtpTarget target(FTPSettings::SFTP, mServers.proftpdSftp().port, mServers.proftpdSftp().root);
        const QString name = QString("[127.0.0.1]:%1").arg(target.port());
        const QByteArray hash
            = QMessageAuthenticationCode::hash(name.toLatin1(), "salt of 20 bytes....", QCryptographicHash::Sha1);
        content.replace("NAME", name).replace("HASH", "|1|c2FsdCBvZiAyMCBieXRlcy4uLi4=|" + hash.toBase64());
        content.replace("KEY", hostKey()).replace("OTHER", OTHER_KEY).replace("CHANGED", changedKey());
        const QString file = path("known_hosts");
        QVERIFY(FileUtils::writeFileContent(file, content.toUtf8()));
        PeerTrust trust;
        QVERIFY(trust.setKnownHosts(file, acceptsNew ? PeerTrust::AcceptNew : PeerTrust::RefuseUnknown));
        const int before = logins();
        QString message;
        QCOMPARE(request(FTPSettings::SFTP, target.port(), trust, message), code);
        QVERIFY2(message.contains(expected), qPrintable(message));
        QCOMPARE(logins() > before, code == 0);
        const QString appended = acceptsNew && code == 0 ? '\n' + name + ' ' + hostKey() + '\n' : QString();
        QCOMPARE(FileUtils::readFileContent(file), (content + appended).toUtf8());
    }

    void acceptsANewHostOnce()
    {
        const QString file = path("new_hosts");
        PeerTrust trust;
        QString message;
        QVERIFY(trust.setKnownHosts(mFolder.filePath("missing/file"), PeerTrust::AcceptNew));
        const int port = mServers.proftpdSftp().port;
        QCOMPARE(request(FTPSettings::SFTP, port, trust, message), int(CURLE_PEER_FAILED_VERIFICATION));
        QVERIFY2(message.contains("cannot be written"), qPrintable(message));
        QVERIFY(trust.setKnownHosts(file, PeerTrust::AcceptNew));
        QFile locked(file);
        QVERIFY(locked.open(QIODevice::WriteOnly) && locked.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
        QCOMPARE(flock(locked.handle(), LOCK_EX), 0);
        QCOMPARE(request(FTPSettings::SFTP, port, trust, message), int(CURLE_PEER_FAILED_VERIFICATION));
        QVERIFY2(message.contains("is locked"), qPrintable(message));
        locked.close();
        QVERIFY(locked.remove());
        for (const auto policy : { PeerTrust::AcceptNew, PeerTrust::RefuseUnknown }) {
            QVERIFY(trust.setKnownHosts(file, policy));
            QCOMPARE(request(FTPSettings::SFTP, port, trust, message), 0);
        }
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QCOMPARE(int(QFile::permissions(file) & others), 0);
        QCOMPARE(FileUtils::readFileContent(file).count('\n'), 1);
    }

    void refusesWhatItCannotVerify()
    {
        PeerTrust bad;
        QVERIFY(!bad.pinPublicKey("sha256//short"));
        QVERIFY(!PeerTrust().setCertificateAuthorities(PeerTrust::File));
        QVERIFY(!PeerTrust().setCertificateAuthorities(PeerTrust::System, "a"));
        QVERIFY(!PeerTrust().setKnownHosts(""));
        PeerTrust tls;
        PeerTrust ssh;
        QVERIFY(tls.pinPublicKey(mOtherPin + ';' + mOwnPin));
        QVERIFY(ssh.setKnownHosts("none"));
        QByteArray data;
        HTTPCurl http;
        for (const PeerTrust& trust : { bad, ssh }) {
            QVERIFY(!http.setTrust(trust));
            QVERIFY(!http.getData(mServers.https("/page"), data));
            QCOMPARE(http.error(), ErrorableCode::of(HTTPCurl::BAD_PARAMETER));
        }
        QVERIFY(http.setTrust(tls));
        QVERIFY2(http.getData(mServers.https("/page"), data), qPrintable(http.errorMessage()));
        QVERIFY(!http.getData(mServers.http("/page"), data));
        QCOMPARE(http.error(), ErrorableCode::of(CURLE_UNSUPPORTED_PROTOCOL));
        FTPCurl ftp;
        QVERIFY(!ftp.setTrust(bad));
        for (const auto& [protocol, trust] : { std::pair<int, PeerTrust> { FTPSettings::FTPS_EXPLICIT, bad },
                 { FTPSettings::FTPS_IMPLICIT, ssh }, { FTPSettings::SFTP, tls }, { FTPSettings::FTP, tls } }) {
            QCOMPARE(ftp.setTrust(trust), trust.isValid());
            QVERIFY(!ftp.initHost(FtpTarget(protocol, 1)));
            QCOMPARE(ftp.error(), ErrorableCode::of(FTPCurl::FUNC_PARAM_ERROR));
        }
        QVERIFY(ftp.initHost(FtpTarget(FTPSettings::FTPS_EXPLICIT, 1)));
        QVERIFY(ftp.setTrust(PeerTrust())); // ends the session, which had another trust
        QVERIFY(!ftp.isValid());
    }

private:
    void makeCertificate(const QString& name, const QString& host)
    {
        const int result = QProcess::execute("openssl",
            { "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=x",
                "-addext", "subjectAltName=" + host, "-keyout", path(name + ".key"), "-out", path(name + ".pem") });
        QCOMPARE(result, 0);
    }

    QString path(const QString& name) const { return mFolder.filePath(name); }

    int logins() const { return FileUtils::readFileContent(mLog).count("USER perf"); }

    /// The type and the key of ProFTPD.
    QString hostKey()
    {
        if (mHostKey.isEmpty()) {
            PeerTrust trust;
            QString message;
            trust.setKnownHosts(path("any"), PeerTrust::AcceptNew);
            request(FTPSettings::SFTP, mServers.proftpdSftp().port, trust, message);
            mHostKey = QString(FileUtils::readFileContent(path("any"))).section(' ', 1).trimmed();
        }
        return mHostKey;
    }
    QString changedKey() { return hostKey().left(hostKey().size() - 5) + "AAAA="; }

    /// Libcurl's code for a request that carries a path, a user and a password.
    int request(int protocol, int port, const PeerTrust& trust, QString& message)
    {
        QByteArray data;
        HTTPCurl http;
        FTPCurl ftp;
        bool success = false;
        if (protocol == HTTPS) {
            success = http.setTrust(trust) && http.getData(QString("https://127.0.0.1:%1/page").arg(port), data);
        } else {
            const QString root = protocol == FTPSettings::SFTP ? mServers.proftpdSftp().root : QString();
            success
                = ftp.setTrust(trust) && ftp.initHost(FtpTarget(protocol, port, root)) && ftp.putData("x", "a", false);
        }
        const Errorable& client = protocol == HTTPS ? static_cast<const Errorable&>(http) : ftp;
        message = success ? QString() : client.errorMessage();
        return success ? 0 : client.error().value();
    }

    QTemporaryDir mFolder;
    QString mLog = path("log");
    bool mIsLogSet = qputenv("PROFTPD_LOG", QFile::encodeName(mLog));
    RealServers mServers { { "nginx", "proftpd" } };
    QString mOwnPin;
    QString mOtherPin;
    QString mHostKey;
};

QTEST_GUILESS_MAIN(PeerTrustTest)
#include "PeerTrustTest.moc"
