#include <tavrel/HttpQueryParameters.h>
#include <tavrel/HttpUserAgentGenerator.h>

#include <QtTest>

#include <random>

class RequestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rendersParameters()
    {
        // As a query and as JSON, after key, value and "encoded" of each parameter.
        const QList<QStringList> cases { { "", "{}" }, { "a=", R"({"a":""})", "", "v", "", "a", "", "" },
            { "x=y&name=b", R"({"x":"y","name":"b"})", "Name", "a", "", "x", "y", "", "name", "b", "" },
            { "k &=a b&c&l=a%20b%26c~%C3%A9%2B", R"({"k &":"a b&c","l":"a%20b%26c~%C3%A9%2B"})", "k &", "a b&c", "",
                "l", "a b&c~é+", "yes" },
            { "q\"%2=v\\", R"({"q"v\":"v\"})", "q\"%2", "v\\", "" } }; // nothing is escaped
        for (const QStringList& row : cases) {
            HttpQueryParameters parameters;
            for (int i = 2; i < row.size(); i += 3) {
                parameters.addParam(row.at(i), row.at(i + 1), !row.at(i + 2).isEmpty());
            }
            QCOMPARE(QStringList({ parameters.toString(), parameters.toJson() }), row.mid(0, 2));
            QCOMPARE(parameters.at(-1).key() + parameters.at(parameters.count()).key(), QString());
        }
    }

    void sortsAndMerges()
    {
        HttpQueryParameters parameters;
        parameters.addParam("b", "1");
        parameters.addParamEncoded("C", "2 2");
        parameters.addParam("a", "3");
        QCOMPARE(parameters.indexOf("c"), 1);
        QVERIFY(!parameters.contains("d"));
        parameters.sort(Qt::AscendingOrder);
        QCOMPARE(parameters.toString(), QString("a=3&b=1&C=2%202"));
        parameters.sort(Qt::DescendingOrder);
        HttpQueryParameters other;
        other.addParam("B", "4");
        parameters += other;
        parameters += parameters;
        QCOMPARE(parameters.toString(), QString("C=2%202&a=3&B=4"));
    }

    void agentsOfOneSecondAreTheSame()
    {
        QString agent;
        QString again;
        int number = 0;
        qint64 second = 0;
        do { // until no second ended in between
            second = QDateTime::currentSecsSinceEpoch();
            number = HttpUserAgentGenerator::myUserAgentRand(RAND_MAX);
            agent = HttpUserAgentGenerator::generateAndroidRandomUserAgent();
            again = HttpUserAgentGenerator::generateAndroidRandomUserAgent();
        } while (QDateTime::currentSecsSinceEpoch() != second);
        QCOMPARE(agent, again);
        // The generator of Qt 5.15, which Qt 6 does not have.
        QCOMPARE(number, int(std::minstd_rand(static_cast<quint32>(second))()) % RAND_MAX);
        // The picks agree with each other: two versions of five, and all characters of the build.
        const QRegularExpression shape(
            R"(^Dalvik/1\.[4-6]\.\d \(Linux; U; Android [2-4]\.([0-4])\.\1; [\w -]+ Build/(.)\2{4,13}\)$)");
        QVERIFY2(shape.match(agent).hasMatch(), qPrintable(agent));
    }
};

QTEST_GUILESS_MAIN(RequestTest)
#include "RequestTest.moc"
