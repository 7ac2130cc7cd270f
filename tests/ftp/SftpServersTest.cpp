#include "FtpTarget.h"
#include "RealServers.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FolderPublisher.h>
#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>

#include <QtTest>

static const TavrelInitializer initializer;

/// An SFTP server that differs from others in what the protocol leaves open.
class SftpServersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (mServers.asyncssh().port == 0) {
            QSKIP("asyncssh is not installed");
        }
    }

    void init()
    {
        mFtp = std::make_unique<FTPCurl>();
        QVERIFY(mFtp->initHost(mTarget));
    }

    void staysInItsRoot()
    {
        QVERIFY(mFtp->putData("x", "www/~/a", true));
        QVERIFY2(mFtp->putData("~", "~", false), qPrintable(mFtp->errorText()));
        QVERIFY(mFtp->rename("~", "b"));
        QVERIFY(mFtp->removeResource("www/~/a"));
        QVERIFY(mFtp->createDirectory("~"));
        QVERIFY(mFtp->putData("x", "~/c", false));
        VirtualFileList files;
        QVERIFY(mFtp->listRecursively("/", files));
        QCOMPARE(files.size(), 2);
        QCOMPARE(QDir(mDisk).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList({ "b", "www", "~" }));
    }

    void sendsAnewWhatIsNotAppended()
    {
        QByteArray content(300000, '\0');
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(content.data()), content.size() / 4);
        QVERIFY(FileUtils::writeFileContent(mFolder.filePath("source"), content));
        mFtp->setResumeTransfers(true);
        for (const int sent : { 7, 100000, 200000, 299999 }) {
            QVERIFY(mFtp->putData(content.left(sent), "resumed", false));
            QVERIFY2(mFtp->putFile(mFolder.filePath("source"), "resumed", false), qPrintable(mFtp->errorText()));
            QVERIFY2(FileUtils::readFileContent(mDisk + "/resumed") == content, qPrintable(QString::number(sent)));
        }
    }

    void keepsItsRecord()
    {
        const QString site = mFolder.filePath("site");
        QVERIFY(QDir().mkpath(site));
        for (int i = 0; i < 30; ++i) {
            QVERIFY(FileUtils::writeFileContent(QString("%1/%2").arg(site).arg(i), QByteArray::number(i)));
        }
        for (const int expected : { 30, 1, 0 }) {
            FolderPublisher publisher;
            publisher.publish(FtpTarget(FTPSettings::SFTP, mServers.asyncssh().port, "site"), site);
            publisher.wait();
            QCOMPARE(publisher.report().sent.size(), expected);
            QCOMPARE(publisher.report().unchanged.size(), 30 - expected);
            QVERIFY(FileUtils::writeFileContent(site + "/1", "changed"));
        }
    }

    void triesAWrongPasswordOnce()
    {
        const auto connections
            = [this] { return FileUtils::readFileContent(mServers.file("asyncssh.log")).count("connection"); };
        const int before = connections();
        FolderPublisher publisher;
        publisher.publish(FtpTarget(mTarget).withPassword("wrong"), mFolder.filePath("site"));
        publisher.wait();
        QVERIFY2(publisher.report().stopReason.contains("denied"), qPrintable(publisher.report().stopReason));
        QCOMPARE(connections() - before, 1);
    }

private:
    const RealServers mServers { { "asyncssh" } };
    const FtpTarget mTarget { FTPSettings::SFTP, mServers.asyncssh().port };
    const QString mDisk = mServers.asyncssh().folder;
    const QTemporaryDir mFolder;
    std::unique_ptr<FTPCurl> mFtp;
};

QTEST_GUILESS_MAIN(SftpServersTest)
#include "SftpServersTest.moc"
