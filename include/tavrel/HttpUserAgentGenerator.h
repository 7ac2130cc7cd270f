#pragma once

#include <tavrel/tavrel_export.h>

#include <QList>
#include <QString>
#include <QStringList>

/**
 * Random user agents of an Android phone, for HTTPCurl::setUserAgent().
 *
 * The generator is seeded with the current second before every pick: the results within one second are equal, and the
 * picks of one agent are correlated. It uses Qt's generator of the calling thread and replaces its seed. May be called
 * from any thread.
 */
class TAVREL_EXPORT HttpUserAgentGenerator
{
public:
    HttpUserAgentGenerator() = delete;

    /// A complete user agent, for example "Dalvik/1.4.0 (Linux; U; Android 2.0.0; Nexus 4 Build/AAAAA)".
    static QString generateAndroidRandomUserAgent();

    static QString dalvikRandomVersion(); ///< "1.4.0" to "1.6.9"
    static QString androidRandomVersion(); ///< "2.0.0" to "4.4.4"
    static QString androidRandomDevice(); ///< one of AndroidDevices
    static QString androidRandomBuild(); ///< "Build/" and 5 to 14 characters of AndroidBuildVersion

    /// A pick in [0, n); n must be positive.
    static int myUserAgentRand(int n);

    /// The numbers and texts that are picked from.
    ///@{
    static const QList<int> DalvikMajorVersion;
    static const QList<int> DalvikMinorVersion;
    static const QList<int> DalvikPatchVersion;
    static const QList<int> AndroidMajorVersion;
    static const QList<int> AndroidMinorVersion;
    static const QList<int> AndroidPatchVersion;
    static const QStringList AndroidDevices;
    static const QString AndroidBuildVersion;
    ///@}
};
