#pragma once

#include <tavrel/tavrel_export.h>

/**
 * Initializes libcurl once per process, and cleans it up.
 *
 * Create one before the application object, so that it is destroyed after it: threads such as FileDownloader may have
 * the application object as parent and must end before libcurl is cleaned up.
 *
 *     int main(int argc, char* argv[])
 *     {
 *         TavrelInitializer initializer;
 *         QApplication application(argc, argv);
 *         ...
 *     }
 *
 * Not thread-safe: initialize before the first client is created, clean up after the last one is destroyed.
 */
class TAVREL_EXPORT TavrelInitializer
{
public:
    /// Initializes libcurl, unless it is initialized. If the application object exists, only logs a warning.
    TavrelInitializer();
    /// Calls globalDeInit().
    ~TavrelInitializer();

    TavrelInitializer(const TavrelInitializer&) = delete;
    TavrelInitializer& operator=(const TavrelInitializer&) = delete;

    /// Initializes libcurl whether or not the application object exists. Does nothing if it is initialized.
    static void globalInit();
    /// Cleans libcurl up. Does nothing if it is not initialized.
    static void globalDeInit() noexcept;
    static bool initialized() noexcept; ///< Whether libcurl is initialized.

private:
    static bool mCurlInitialized;
};
