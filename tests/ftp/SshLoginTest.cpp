#include "FtpTarget.h"
#include "RealServers.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QProcess>
#include <QtTest>

static const TavrelInitializer initializer;

/// Logs in to OpenSSH.
class SshLoginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void triesKeysBeforeThePassword_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<QString>("agentKey"); // empty: no agent
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("success");
        const QString right = "p@ss: w/rd%1";
        const QString phrase = "pass phrase%1";
        QTest::newRow("a key") << "user_key"
                               << ""
                               << ""
                               << "wrong" << true;
        QTest::newRow("a key with a passphrase") << "locked_user_key" << phrase << ""
                                                 << "wrong" << true;
        QTest::newRow("a wrong passphrase") << "locked_user_key"
                                            << "secret"
                                            << ""
                                            << "wrong" << false;
        QTest::newRow("a wrong passphrase, but the password") << "locked_user_key"
                                                              << "secret"
                                                              << "" << right << true;
        QTest::newRow("an unknown key, but the password") << "stranger_key"
                                                          << ""
                                                          << "" << right << true;
        QTest::newRow("the agent") << ""
                                   << ""
                                   << "user_key"
                                   << "wrong" << true;
        QTest::newRow("an unknown key, but the agent") << "stranger_key"
                                                       << ""
                                                       << "user_key"
                                                       << "wrong" << true;
        QTest::newRow("an agent without the key") << ""
                                                  << ""
                                                  << "stranger_key"
                                                  << "wrong" << false;
        QTest::newRow("an agent without the key, but the password") << ""
                                                                    << ""
                                                                    << "stranger_key" << right << true;
    }
    void triesKeysBeforeThePassword()
    {
        if (mServers.openssh().port == 0) {
            QSKIP("OpenSSH needs root");
        }
        QFETCH(QString, key);
        QFETCH(QString, passphrase);
        QFETCH(QString, agentKey);
        QFETCH(QString, password);
        const QTemporaryDir folder;
        const QString socket = folder.filePath("agent");
        QProcess agent;
        FTPCurl ftp;
        if (!agentKey.isEmpty()) {
            agent.start("ssh-agent", { "-D", "-a", socket });
            QTRY_VERIFY(QFile::exists(socket));
            qputenv("SSH_AUTH_SOCK", socket.toLocal8Bit());
            QCOMPARE(QProcess::execute("ssh-add", { "-q", mServers.file(agentKey) }), 0);
            ftp.setUseSshAgent(true);
        }
        QVERIFY(key.isEmpty() || ftp.setSshKey(mServers.file(key), QString(), passphrase));
        const int port = mServers.openssh().port;
        QVERIFY(ftp.initHost(FtpTarget(FTPSettings::SFTP, port, mServers.openssh().root).withPassword(password)));
        QTEST(ftp.putData("x", "a", false), "success");
        QVERIFY(!ftp.hasError() || ftp.error() == ErrorableCode::of(CURLE_LOGIN_DENIED));
        agent.terminate();
        QVERIFY(agentKey.isEmpty() || agent.waitForFinished());
        QVERIFY(qunsetenv("SSH_AUTH_SOCK"));
    }

private:
    const RealServers mServers { { "openssh" } };
};

QTEST_GUILESS_MAIN(SshLoginTest)
#include "SshLoginTest.moc"
