#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QtTest>

class TavrelInitializerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstOneToGoCleansUp()
    {
        auto first = std::make_unique<TavrelInitializer>();
        auto second = std::make_unique<TavrelInitializer>();
        QVERIFY(TavrelInitializer::initialized());
        first.reset();
        QVERIFY(!TavrelInitializer::initialized());
        second.reset();
        QVERIFY(!TavrelInitializer::initialized());
    }

    void isRefusedOnceAnApplicationExists()
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            sLog << QStringLiteral("%1 %2 %3 %4: %5")
                        .arg(QString::number(type), QString::fromUtf8(context.category),
                            QString::fromUtf8(context.file), QString::fromUtf8(context.function), text);
        });
        const TavrelInitializer refused;
        const bool initialized = TavrelInitializer::initialized();
        const HTTPCurl uninitialized;
        TavrelInitializer::globalInit();
        const HTTPCurl client;
        TavrelInitializer::globalDeInit();
        qInstallMessageHandler(nullptr);

        QVERIFY(!initialized);
        QVERIFY(!uninitialized.hasError());
        const QStringList expected {
            QStringLiteral(
                "1 tavrel src/init/TavrelInitializer.cpp TavrelInitializer: Tavrel doit etre initialise "
                "avant "
                "l'application. Ceci car certains threads (FileDownloader) peuvent avoir pour parent qApp. "
                "En cas de fermeture de l'application Curl serait detruit avant qApp et provoquerait une "
                "\"fausse\" erreur dans l'interruption du thread"),
            QStringLiteral("1 tavrel src/http/HTTPCurl.cpp HTTPCurl: ###CURL error : Tavrel doit etre "
                           "initiaisé au debut "
                           "de l'application###"),
        };
        QCOMPARE(sLog, expected);
    }

private:
    static QStringList sLog;
};

QStringList TavrelInitializerTest::sLog;

QTEST_APPLESS_MAIN(TavrelInitializerTest)
#include "TavrelInitializerTest.moc"
