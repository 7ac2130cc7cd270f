#include <foundation/FileUtils.h>
#include <foundation/Thread.h>
#include <foundation/Threadable.h>

#include <QtTest>

class Worker : public Thread
{
public:
    ~Worker() override { interruptAndWait(); }
    void onFinished() override { ++mFinished; }
    void run() override
    {
        while (!isInterruptionRequested()) {
            msleep(1);
        }
    }

    int mFinished = 0;
};

class ThreadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interruptionReachesTheChildrenAndEndsWithTheNextStart()
    {
        Threadable child;
        {
            Worker worker;
            worker.addThreadableChild(&child);
            worker.start();
            QVERIFY(!child.isInterruptionRequested());
            worker.requestInterruption();
            QVERIFY(child.isInterruptionRequested());
            worker.wait();
            QTRY_COMPARE(worker.mFinished, 1);
            worker.start();
            QVERIFY(!child.isInterruptionRequested());
        } // A running thread is interrupted and waited for.
        QVERIFY(child.isInterruptionRequested());
        child.setThreadForInterrupt(nullptr);
        QVERIFY(!child.isInterruptionRequested());
    }

    void aFileIsWrittenWholeOrNotAtAll()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file"));
        QVERIFY(FileUtils::writeFileContent(path, "one\r\n"));
        QVERIFY(FileUtils::writeFileContent(path, "two\r\n"));
        QCOMPARE(FileUtils::readFileContent(path), QByteArray("two\r\n"));
        QString error;
        QVERIFY(!FileUtils::writeFileContent(path + QStringLiteral("/below"), "three", &error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList(QStringLiteral("file")));
        QCOMPARE(FileUtils::fileSizeToString(1536), QStringLiteral("1.50 KiB"));
    }
};

QTEST_GUILESS_MAIN(ThreadTest)
#include "ThreadTest.moc"
