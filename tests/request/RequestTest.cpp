#include <tavrel/HttpQueryParameters.h>
#include <tavrel/HttpUserAgentGenerator.h>

#include <QtTest>

class RequestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rendersParameters_data()
    {
        QTest::addColumn<QStringList>("added"); // key, value, encoded, ...
        QTest::addColumn<QStringList>("texts"); // as a query and as JSON
        using List = QStringList;
        QTest::newRow("nothing") << List() << List { "", "{}" };
        QTest::newRow("an empty key is ignored") << List { "", "v", "", "a", "", "" } << List { "a=", R"({"a":""})" };
        QTest::newRow("a key moves to the end") << List { "Name", "a", "", "x", "y", "", "name", "b", "" }
                                                << List { "x=y&name=b", R"({"x":"y","name":"b"})" };
        QTest::newRow("values are encoded on demand") << List { "k &", "a b&c", "", "l", "a b&c~é+",
            "yes" } << List { "k &=a b&c&l=a%20b%26c~%C3%A9%2B", R"({"k &":"a b&c","l":"a%20b%26c~%C3%A9%2B"})" };
        QTest::newRow("nothing is escaped") << List { "q\"%2", "v\\", "" } << List { "q\"%2=v\\", R"({"q"v\":"v\"})" };
    }
    void rendersParameters()
    {
        QFETCH(QStringList, added);
        HttpQueryParameters parameters;
        for (int i = 0; i < added.size(); i += 3) {
            parameters.addParam(added.at(i), added.at(i + 1), !added.at(i + 2).isEmpty());
        }
        QTEST(QStringList({ parameters.toString(), parameters.toJson() }), "texts");
        QVERIFY(parameters.at(-1).key().isEmpty() && parameters.at(parameters.count()).key().isEmpty());
    }

    void sortsAndMerges()
    {
        HttpQueryParameters parameters;
        parameters.addParam("b", "1");
        parameters.addParamEncoded("C", "2 2");
        parameters.addParam("a", "3");
        QVERIFY(parameters.indexOf("c") == 1 && !parameters.contains("d"));
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
        qint64 second = 0;
        do { // until no second ended in between
            second = QDateTime::currentSecsSinceEpoch();
            agent = HttpUserAgentGenerator::generateAndroidRandomUserAgent();
        } while (QDateTime::currentSecsSinceEpoch() != second);
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        qsrand(static_cast<uint>(second));
        const int r = qrand();
        QT_WARNING_POP
        const QString format = "Dalvik/1.%1.%2 (Linux; U; Android %3.%4.%4; %5 Build/%6)";
        const QString build(qMax(5, r % 15), HttpUserAgentGenerator::AndroidBuildVersion.at(r % 37));
        QCOMPARE(agent,
            format.arg(4 + r % 3).arg(r % 10).arg(2 + r % 3).arg(r % 5).arg(
                HttpUserAgentGenerator::AndroidDevices.at(r % 10), build));
    }
};

QTEST_GUILESS_MAIN(RequestTest)
#include "RequestTest.moc"
