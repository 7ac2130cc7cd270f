#include "FtpTarget.h"
#include "RealServers.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>
#include <foundation/Thread.h>

#include <QLocalServer>
#include <QProcess>
#include <QtTest>

#include <thread>

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
        // A connection that ends without a login counts as a failed one.
        mRefused += ftp.hasError() ? 1 : 0;
        QTRY_COMPARE(FileUtils::readFileContent(mServers.file("openssh.log")).count("[preauth]"), mRefused);
        QVERIFY(!ftp.hasError() || ftp.error() == ErrorableCode::of(CURLE_LOGIN_DENIED));
        agent.terminate();
        QVERIFY(agentKey.isEmpty() || agent.waitForFinished());
        QVERIFY(qunsetenv("SSH_AUTH_SOCK"));
    }

    void doesNotWaitForASilentAgent_data()
    {
        QTest::addColumn<bool>("isInterrupted");
        QTest::newRow("which is left out") << false;
        QTest::newRow("until it is interrupted") << true;
    }
    void doesNotWaitForASilentAgent()
    {
        if (mServers.openssh().port == 0) {
            QSKIP("OpenSSH needs root");
        }
        QFETCH(bool, isInterrupted);
        const QTemporaryDir folder;
        const QString socket = folder.filePath("agent");
        QLocalServer agent; // which nobody answers for
        QVERIFY(agent.listen(socket));
        qputenv("SSH_AUTH_SOCK", socket.toLocal8Bit());
        FTPCurl ftp;
        QVERIFY(ftp.initHost(FtpTarget(FTPSettings::SFTP, mServers.openssh().port, mServers.openssh().root)
                                 .withPassword("wrong"))); // unasked for, the agent is left alone
        QVERIFY(!ftp.putData("x", "a", false));
        QVERIFY(!agent.hasPendingConnections());
        ftp.setUseSshAgent(true);
        QVERIFY(ftp.initHost(FtpTarget(FTPSettings::SFTP, mServers.openssh().port, mServers.openssh().root)));
        Thread thread;
        thread.addThreadableChild(&ftp);
        std::thread asking([&] {
            QThread::msleep(300);
            isInterrupted ? thread.requestInterruption() : void();
        });
        QElapsedTimer time;
        time.start();
        QCOMPARE(ftp.putData("x", "a", false), !isInterrupted);
        QVERIFY(time.elapsed() < (isInterrupted ? 1500 : 15000));
        asking.join();
        ftp.setThreadForInterrupt(nullptr);
        QVERIFY(qunsetenv("SSH_AUTH_SOCK"));
    }

private:
    const RealServers mServers { { "openssh" } };
    int mRefused = 0;
};

QTEST_GUILESS_MAIN(SshLoginTest)
#include "SshLoginTest.moc"
