#include <tavrel/TavrelInitializer.h>

#include <logging/LogUtils.h>

#include <QCoreApplication>

#include <curl/curl.h>

bool TavrelInitializer::mCurlInitialized = false;

TavrelInitializer::TavrelInitializer()
{
    if (QCoreApplication::instance()) {
        LogUtils log(LogUtils::Warning, __FILE__, "TavrelInitializer", __LINE__);
        log << "Tavrel doit etre initialise avant l'application. Ceci car certains threads (FileDownloader) "
               "peuvent "
               "avoir pour parent qApp. En cas de fermeture de l'application Curl serait detruit avant qApp "
               "et "
               "provoquerait une \"fausse\" erreur dans l'interruption du thread";
        log.checkSpacing();
        return;
    }
    globalInit();
}

TavrelInitializer::~TavrelInitializer()
{
    globalDeInit();
}

void TavrelInitializer::globalInit()
{
    if (!mCurlInitialized) {
        // Deliberate: the result is ignored. If libcurl could not start, each request fails with libcurl's own code,
        // which says more than a flag.
        curl_global_init(CURL_GLOBAL_ALL);
        mCurlInitialized = true;
    }
}

void TavrelInitializer::globalDeInit() noexcept
{
    if (mCurlInitialized) {
        curl_global_cleanup();
        mCurlInitialized = false;
    }
}

bool TavrelInitializer::initialized() noexcept
{
    return mCurlInitialized;
}
