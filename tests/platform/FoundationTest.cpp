#include <foundation/Errorable.h>
#include <foundation/Thread.h>
#include <foundation/Threadable.h>

#include <QtTest>

#include <set>
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
        const std::set<ErrorableCode> codes { ErrorableCode::of(OtherFault::Small), ErrorableCode::of(Fault::Large),
            raised, ErrorableCode::of(Fault::Small) };
        QCOMPARE(codes.size(), size_t(3));
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
            QThread& base = worker; // its functions are not virtual
            worker.start();
            base.requestInterruption();
            QVERIFY(worker.wait(5000));
            worker.requestInterruption();
            QVERIFY(child.isInterruptionRequested());
            base.start();
            QTRY_VERIFY(!child.isInterruptionRequested());
        } // A running thread is interrupted and waited for.
        QVERIFY(child.isInterruptionRequested());
        Thread().start(); // with an event loop
        {
            Thread idle;
            idle.addThreadableChild(&child);
        }
        QVERIFY(!child.isInterruptionRequested());
    }
};

QTEST_GUILESS_MAIN(FoundationTest)
#include "FoundationTest.moc"
