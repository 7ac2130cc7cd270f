#include "warnIfNotInitialized.h"

#include <tavrel/TavrelInitializer.h>

#include <logging/LogUtils.h>

void warnIfNotInitialized(const char* file, const char* className, int line)
{
    if (!TavrelInitializer::initialized()) {
        LogUtils log(LogUtils::Warning, file, className, line);
        log << "###CURL error : Tavrel doit etre initiaisé au debut de l'application###";
        log.checkSpacing();
    }
}
