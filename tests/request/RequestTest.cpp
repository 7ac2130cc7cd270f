#include <tavrel/HttpQueryParameters.h>
#include <tavrel/HttpUserAgentGenerator.h>

#include <QtTest>

class RequestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rendersParameters_data()
    {
        QTest::addColumn<QStringList>("added"); // key, value, encoded ...
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("json");
        QTest::newRow("nothing") << QStringList() << ""
                                 << "{}";
        QTest::newRow("an empty key is ignored") << QStringList { "", "v", "" } << ""
                                                 << "{}";
        QTest::newRow("an empty value keeps its place") << QStringList { "a", "", "" } << "a="
                                                        << R"({"a":""})";
        QTest::newRow("a key moves to the end with its new spelling")
            << QStringList { "Name", "a", "", "x", "y", "", "name", "b", "" } << "x=y&name=b"
            << R"({"x":"y","name":"b"})";
        QTest::newRow("only values are encoded, and only on demand")
            << QStringList { "k &", "a b&c", "", "l", QString::fromUtf8("a b&c~é+"), "encoded" }
            << "k &=a b&c&l=a%20b%26c~%C3%A9%2B"
            << R"({"k &":"a b&c","l":"a%20b%26c~%C3%A9%2B"})";
        QTest::newRow("nothing is escaped, one substitution follows the other")
            << QStringList { "q\"%2", "v\\", "" } << "q\"%2=v\\"
            << R"({"q"v\":"v\"})";
    }
    void rendersParameters()
    {
        QFETCH(QStringList, added);
        HttpQueryParameters parameters;
        for (int i = 0; i < added.size(); i += 3) {
            parameters.addParam(added.at(i), added.at(i + 1), !added.at(i + 2).isEmpty());
        }
        QTEST(parameters.toString(), "query");
        QTEST(parameters.toJson(), "json");
    }

    void findsSortsAndMerges()
    {
        HttpQueryParameters parameters;
        parameters.addParam("b", "1");
        parameters.addParamEncoded("C", "2 2");
        parameters.addParam("a", "3");
        QCOMPARE(parameters.indexOf("c"), 1);
        QVERIFY(parameters.contains("A") && !parameters.contains("d"));
        QVERIFY(
            parameters.at(-1).key().isEmpty() && !parameters.at(3).encoded() && parameters.at(1).encoded());
        parameters.sort(Qt::AscendingOrder);
        QCOMPARE(parameters.toString(), QString("a=3&b=1&C=2%202"));
        parameters.sort(Qt::DescendingOrder);
        QCOMPARE(parameters.toString(), QString("C=2%202&b=1&a=3"));
        HttpQueryParameters other;
        other.addParam("B", "4");
        other.addParam("d", "5");
        parameters += other;
        QCOMPARE(parameters.toString(), QString("C=2%202&a=3&B=4&d=5"));
        parameters += parameters;
        QCOMPARE(parameters.toString(), QString("C=2%202&a=3&B=4&d=5"));
    }

    void agentsOfOneSecondAreTheSame()
    {
        QString agent;
        QString build;
        qint64 before = 0;
        do { // until no second ended in between
            before = QDateTime::currentSecsSinceEpoch();
            agent = HttpUserAgentGenerator::generateAndroidRandomUserAgent();
            build = HttpUserAgentGenerator::androidRandomBuild();
        } while (QDateTime::currentSecsSinceEpoch() != before);
        QT_WARNING_PUSH
        QT_WARNING_DISABLE_DEPRECATED
        qsrand(static_cast<uint>(before));
        const int r = qrand();
        QT_WARNING_POP
        const QString version = QString("%1.%2.%3");
        const QChar letter = HttpUserAgentGenerator::AndroidBuildVersion.at(r % 37);
        QCOMPARE(build, "Build/" + QString(qMax(5, r % 15), letter));
        QCOMPARE(agent,
            QString("Dalvik/%1 (Linux; U; Android %2; %3 %4)")
                .arg(version.arg(1).arg(4 + r % 3).arg(r % 10), version.arg(2 + r % 3).arg(r % 5).arg(r % 5),
                    HttpUserAgentGenerator::AndroidDevices.at(r % 10), build));
    }
};

QTEST_GUILESS_MAIN(RequestTest)
#include "RequestTest.moc"
