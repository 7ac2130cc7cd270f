#pragma once

#include <tavrel/tavrel_export.h>

/**
 * Sets libcurl up for the process, once, and tears it down.
 *
 * Create one before the application object, so that it is destroyed after it: threads such as FileDownloader
 * may have the application object as parent and must end before libcurl is cleaned up.
 *
 *     int main(int argc, char* argv[])
 *     {
 *         TavrelInitializer initializer;
 *         QApplication application(argc, argv);
 *         ...
 *     }
 *
 * Not for concurrent use: initialise before the first client exists, clean up after the last one is gone.
 */
class TAVREL_EXPORT TavrelInitializer
{
public:
    /// Initialises libcurl, unless that was done already. When the application object exists, only logs a
    /// warning.
    TavrelInitializer();
    /// The same as globalDeInit().
    ~TavrelInitializer();

    TavrelInitializer(const TavrelInitializer&) = delete;
    TavrelInitializer& operator=(const TavrelInitializer&) = delete;

    /// Initialises libcurl whether or not the application object exists; does nothing when that was done
    /// already.
    static void globalInit();
    /// Cleans libcurl up; does nothing when it is not initialised.
    static void globalDeInit() noexcept;
    static bool initialized() noexcept;

private:
    static bool mCurlInitialized;
};
