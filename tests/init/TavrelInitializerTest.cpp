#include <tavrel/HTTPCurl.h>
#include <tavrel/TavrelInitializer.h>

#include <QtTest>

static QStringList sLog;

class TavrelInitializerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsOnTheLibcurlItIsBuiltFor()
    {
        qInfo("%s", curl_version());
        QCOMPARE(curl_version_info(CURLVERSION_NOW)->version, LIBCURL_VERSION);
    }

    void theFirstOneToGoCleansUp()
    {
        auto first = std::make_unique<TavrelInitializer>();
        const TavrelInitializer second;
        QVERIFY(TavrelInitializer::initialized());
        first.reset();
        QVERIFY(!TavrelInitializer::initialized());
    }

    void isRefusedOnceAnApplicationExists()
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext& context, const QString& text) {
            sLog << QString("%1 %2 %3 ").arg(context.category, context.file, context.function) + text;
        });
        const TavrelInitializer refused;
        const bool initialized = TavrelInitializer::initialized();
        const HTTPCurl uninitialized;
        TavrelInitializer::globalInit();
        const HTTPCurl silent;
        qInstallMessageHandler(nullptr);
        QCOMPARE(initialized, false);
        QCOMPARE(uninitialized.hasError(), false);
        const QStringList told {
            "tavrel src/init/TavrelInitializer.cpp TavrelInitializer Tavrel doit etre initialise avant l'application. "
            "Ceci car certains threads (FileDownloader) peuvent avoir pour parent qApp. En cas de fermeture de "
            "l'application Curl serait detruit avant qApp et provoquerait une \"fausse\" erreur dans l'interruption du "
            "thread",
            "tavrel src/http/HTTPCurl.cpp HTTPCurl ###CURL error : Tavrel doit etre initiaisé au debut de "
            "l'application###"
        };
        QCOMPARE(sLog, told);
    }
};

QTEST_APPLESS_MAIN(TavrelInitializerTest)
#include "TavrelInitializerTest.moc"
