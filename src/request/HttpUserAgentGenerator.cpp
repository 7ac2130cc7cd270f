#include <tavrel/HttpUserAgentGenerator.h>

#include <QDateTime>
#include <QtGlobal>

#include <random>

namespace {

constexpr int MIN_BUILD_LENGTH = 5;
constexpr int BUILD_LENGTH_BOUND = 15;

/// The first number after a seed, the same on all versions of Qt.
int randomNumber(quint32 seed)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(seed);
    return qrand();
    QT_WARNING_POP
#else
    return static_cast<int>(std::minstd_rand(seed)()); // the generator of Qt 5.15
#endif
}

template <class List> auto pick(const List& values)
{
    return values.at(HttpUserAgentGenerator::myUserAgentRand(static_cast<int>(values.size())));
}

QString version(const QList<int>& majors, const QList<int>& minors, const QList<int>& patches)
{
    const int major = pick(majors);
    const int minor = pick(minors);
    const int patch = pick(patches);
    return QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(patch);
}

} // namespace

const QList<int> HttpUserAgentGenerator::DalvikMajorVersion { 1 };
const QList<int> HttpUserAgentGenerator::DalvikMinorVersion { 4, 5, 6 };
const QList<int> HttpUserAgentGenerator::DalvikPatchVersion { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 };
const QList<int> HttpUserAgentGenerator::AndroidMajorVersion { 2, 3, 4 };
const QList<int> HttpUserAgentGenerator::AndroidMinorVersion { 0, 1, 2, 3, 4 };
const QList<int> HttpUserAgentGenerator::AndroidPatchVersion { 0, 1, 2, 3, 4 };
const QStringList HttpUserAgentGenerator::AndroidDevices { "Nexus 4", "SGH-T989", "SGH-T999", "GT-P3100",
    "HUAWEI U8666E", "LG-P700", "GT-S7562", "HTC One XL", "ST25i", "GT-I9305" };
const QString HttpUserAgentGenerator::AndroidBuildVersion = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.";

int HttpUserAgentGenerator::myUserAgentRand(int n)
{
    // Deliberate: seeded before every pick, so that all picks within one second are correlated.
    return randomNumber(static_cast<quint32>(QDateTime::currentSecsSinceEpoch())) % n;
}

QString HttpUserAgentGenerator::dalvikRandomVersion()
{
    return version(DalvikMajorVersion, DalvikMinorVersion, DalvikPatchVersion);
}

QString HttpUserAgentGenerator::androidRandomVersion()
{
    return version(AndroidMajorVersion, AndroidMinorVersion, AndroidPatchVersion);
}

QString HttpUserAgentGenerator::androidRandomDevice()
{
    return pick(AndroidDevices);
}

QString HttpUserAgentGenerator::androidRandomBuild()
{
    const int length = qMax(myUserAgentRand(BUILD_LENGTH_BOUND), MIN_BUILD_LENGTH);
    QString build = QStringLiteral("Build/");
    for (int i = 0; i < length; ++i) {
        build += pick(AndroidBuildVersion);
    }
    return build;
}

QString HttpUserAgentGenerator::generateAndroidRandomUserAgent()
{
    const QString dalvik = dalvikRandomVersion();
    const QString android = androidRandomVersion();
    const QString device = androidRandomDevice();
    const QString build = androidRandomBuild();
    return QStringLiteral("Dalvik/%1 (Linux; U; Android %2; %3 %4)").arg(dalvik, android, device, build);
}
