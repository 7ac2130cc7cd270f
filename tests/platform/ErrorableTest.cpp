#include <foundation/Errorable.h>

#include <QtTest>

#include <thread>
#include <vector>

namespace Place {
enum Fault { Small = 1, Large = 2 };
}
enum class OtherFault { Small = 1 };

class Failing : public Errorable
{
};

class ErrorableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codesAreComparedByTypeAndValueOnly()
    {
        const ErrorableCode raised(QStringLiteral("Place::Fault"), 1, { QStringLiteral("text") },
            QStringLiteral("file:1"), QStringLiteral("Small"));
        QCOMPARE(raised, ErrorableCode::of(Place::Small));
        QVERIFY(raised != ErrorableCode::of(Place::Large));
        QVERIFY(raised != ErrorableCode::of(OtherFault::Small));
        QVERIFY(ErrorableCode::of(OtherFault::Small) < raised);
        QVERIFY(raised < ErrorableCode::of(Place::Large));
        QVERIFY(!(raised < ErrorableCode::of(Place::Small)));
    }

    void theMessageIsThatOfTheCurrentError()
    {
        Failing object;
        QVERIFY(!object.hasError());
        Errorable::sErrorMessages.insert(ErrorableCode(), QStringLiteral("of no error"));
        QCOMPARE(object.errorMessage(), QString());
        object._setError(ErrorableCode::of(Place::Large));
        QVERIFY(object.hasError());
        QCOMPARE(object.errorMessage(), QString());
        Errorable::sErrorMessages.insert(ErrorableCode::of(Place::Large), QStringLiteral("too large"));
        QCOMPARE(object.errorMessage(), QStringLiteral("too large"));
        object.clearError();
        QVERIFY(object.error().isNull() && object.errorMessage().isEmpty());
    }

    void threadsMayFailAtTheSameMoment()
    {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([thread] {
                for (int i = 0; i < 2000; ++i) {
                    const ErrorableCode code(QStringLiteral("Many"), i % 100);
                    Errorable::sErrorMessages.insert(code, QString::number(thread));
                    QVERIFY(!Errorable::sErrorMessages.value(code).isEmpty());
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

QTEST_GUILESS_MAIN(ErrorableTest)
#include "ErrorableTest.moc"
