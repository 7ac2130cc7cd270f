#include <foundation/Errorable.h>
#include <foundation/Thread.h>
#include <foundation/Threadable.h>

#include <QtTest>

#include <thread>

enum class Fault { Small = 1, Large = 2 };
enum class OtherFault { Small = 1 };

struct Worker : Thread
{
    ~Worker() override { interruptAndWait(); }
    void run() override
    {
        while (!isInterruptionRequested()) {
            msleep(1);
        }
    }
};

class FoundationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codesAreComparedByTypeAndValueOnly()
    {
        const ErrorableCode raised("Fault", 1, { "text" }, "file:1", "Small");
        QCOMPARE(raised, ErrorableCode::of(Fault::Small));
        QVERIFY(raised < ErrorableCode::of(Fault::Large) && !(raised < ErrorableCode::of(Fault::Small)));
        QVERIFY(raised < ErrorableCode::of(OtherFault::Small) && raised != ErrorableCode::of(OtherFault::Small));
    }

    void threadsMayFailAtTheSameMoment()
    {
        const auto fail = [] {
            for (int i = 0; i < 5000; ++i) {
                Errorable::sErrorMessages.insert(ErrorableCode("Many", i % 100), QString::number(i));
                QVERIFY(!Errorable::sErrorMessages.value(ErrorableCode("Many", i % 100)).isEmpty());
            }
        };
        std::thread other(fail);
        fail();
        other.join();
    }

    void interruptionReachesTheChildrenAndEndsWithTheNextStart()
    {
        Threadable child;
        {
            Worker worker;
            worker.addThreadableChild(&child);
            worker.start();
            worker.requestInterruption();
            QVERIFY(child.isInterruptionRequested() && worker.wait());
            worker.start();
            QVERIFY(!child.isInterruptionRequested());
        } // A running thread is interrupted and waited for.
        QVERIFY(child.isInterruptionRequested());
    }
};

QTEST_GUILESS_MAIN(FoundationTest)
#include "FoundationTest.moc"
