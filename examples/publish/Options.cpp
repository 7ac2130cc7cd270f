#include "Options.h"

#include <tavrel/FTPCurl.h>

#include <QCommandLineParser>

namespace {

constexpr int LARGEST_MODE = 07777;
constexpr int OCTAL = 8;

} // namespace

void Options::addTo(QCommandLineParser& parser)
{
    parser.addOptions({
        { QStringLiteral("settings"), QStringLiteral("The target, as settings-dialog saves it."),
            QStringLiteral("file") },
        { QStringLiteral("known-hosts"), QStringLiteral("Refuse an SFTP server whose key is not in FILE."),
            QStringLiteral("file") },
        { QStringLiteral("pin"), QStringLiteral("Refuse an FTPS server without this public key."),
            QStringLiteral("sha256//...") },
        { QStringLiteral("ssh-key"), QStringLiteral("Log in over SFTP with a private key, before the password."),
            QStringLiteral("file") },
        { QStringLiteral("ssh-agent"), QStringLiteral("Log in over SFTP with the SSH agent, before the password.") },
        { QStringLiteral("whole"), QStringLiteral("Upload under temporary names; rename complete files.") },
        { QStringLiteral("verify"), QStringLiteral("Compare the sizes of uploaded files with the server's.") },
        { QStringLiteral("resume"), QStringLiteral("Continue an interrupted upload of the same files.") },
        { QStringLiteral("times"), QStringLiteral("Keep the modification times of files.") },
        { QStringLiteral("stall"), QStringLiteral("Give up after SECONDS without a byte."), QStringLiteral("seconds") },
        { QStringLiteral("list"), QStringLiteral("List what is on the server below PATH.") },
        { QStringLiteral("details"), QStringLiteral("List PATH with sizes, times and permissions.") },
        { QStringLiteral("fetch"), QStringLiteral("Fetch all files below PATH."), QStringLiteral("folder") },
        { QStringLiteral("remove"), QStringLiteral("Remove the PATHs; without one, all that is in the site.") },
        { QStringLiteral("chmod"), QStringLiteral("Set the permissions of the PATHs."), QStringLiteral("octal mode") },
    });
    parser.addPositionalArgument(
        QStringLiteral("FOLDER"), QStringLiteral("The folder to publish."), QStringLiteral("[FOLDER]"));
    parser.addPositionalArgument(QStringLiteral("PATH"),
        QStringLiteral("On the server, from the site's folder; with a / in front, from the login directory."),
        QStringLiteral("[PATH...]"));
}

bool Options::fail(const QString& fault)
{
    mFault = fault;
    return false;
}

bool Options::read(const QCommandLineParser& parser)
{
    mSettings = parser.value(QStringLiteral("settings"));
    if (parser.isSet(QStringLiteral("known-hosts"))
        && !mTrust.setKnownHosts(parser.value(QStringLiteral("known-hosts")))) {
        return fail(mTrust.fault());
    }
    if (parser.isSet(QStringLiteral("pin")) && !mTrust.pinPublicKey(parser.value(QStringLiteral("pin")))) {
        return fail(mTrust.fault());
    }
    mPaths = parser.positionalArguments();
    if (mSettings.isEmpty()) {
        return fail(QStringLiteral("needs --settings FILE; see --help"));
    }
    if (mPaths.contains(QString())) {
        return fail(QStringLiteral("a path is empty"));
    }
    return readSetUp(parser) && readAction(parser) && readPaths();
}

bool Options::readSetUp(const QCommandLineParser& parser)
{
    mSshKey = parser.value(QStringLiteral("ssh-key"));
    mUsesAgent = parser.isSet(QStringLiteral("ssh-agent"));
    mUploadsWholeFiles = parser.isSet(QStringLiteral("whole"));
    mVerifies = parser.isSet(QStringLiteral("verify"));
    mResumes = parser.isSet(QStringLiteral("resume"));
    mKeepsTimes = parser.isSet(QStringLiteral("times"));
    mStallTimeOut = parser.value(QStringLiteral("stall")).toInt();
    return mStallTimeOut > 0 || !parser.isSet(QStringLiteral("stall"))
        || fail(QStringLiteral("--stall takes a number of seconds"));
}

bool Options::setUp(FTPCurl& client) const
{
    client.setUseSshAgent(mUsesAgent);
    client.setVerifyUploads(mVerifies || mKeepsTimes); // a file gets its time when it has arrived
    client.setResumeTransfers(mResumes);
    client.setKeepModificationTime(mKeepsTimes);
    return client.setStallTimeOut(mStallTimeOut) && client.setNameEncoding(FTPCurl::Utf8)
        && client.setUploadMode(mUploadsWholeFiles ? FTPCurl::TemporaryName : FTPCurl::InPlace)
        && (mSshKey.isEmpty() || client.setSshKey(mSshKey)) && client.setTrust(mTrust);
}

bool Options::readAction(const QCommandLineParser& parser)
{
    const QVector<QPair<QString, Action>> actions { { QStringLiteral("list"), List },
        { QStringLiteral("details"), Details }, { QStringLiteral("fetch"), Fetch },
        { QStringLiteral("remove"), Remove }, { QStringLiteral("chmod"), Chmod } };
    int count = 0;
    for (const auto& action : actions) {
        if (parser.isSet(action.first)) {
            mAction = action.second;
            ++count;
        }
    }
    bool isNumber = true;
    if (mAction == Chmod) {
        mMode = parser.value(QStringLiteral("chmod")).toInt(&isNumber, OCTAL);
    }
    mFolder = parser.value(QStringLiteral("fetch"));
    if (count > 1) {
        return fail(QStringLiteral("does one thing at a time; see --help"));
    }
    if (!isNumber || mMode > LARGEST_MODE || (mAction == Chmod && mMode < 0)) {
        return fail(QStringLiteral("a mode is an octal number, such as 644"));
    }
    return true;
}

bool Options::readPaths()
{
    switch (mAction) {
    case Publish:
        mFolder = mPaths.value(0);
        return mPaths.size() == 1 || fail(QStringLiteral("needs one FOLDER to publish; see --help"));
    case Fetch:
        return (!mFolder.isEmpty() && mPaths.size() <= 1) || fail(QStringLiteral("needs FOLDER and one PATH at most"));
    case List:
    case Details:
        return mPaths.size() <= 1 || fail(QStringLiteral("lists one PATH at a time"));
    case Chmod:
        return !mPaths.isEmpty() || fail(QStringLiteral("needs a PATH to change"));
    case Remove:
        break;
    }
    return true;
}
