#include "Options.h"

#include <tavrel/FolderPublisher.h>

#include <QDir>
#include <QPair>
#include <QVector>

#include <algorithm>

namespace {

constexpr int MAX_MODE = 07777;
constexpr int OCTAL = 8;
constexpr int USUAL_STALL_SECONDS = 60;
constexpr int MAX_STALL_SECONDS = 86400;

const char* const DESCRIPTION = "Publishes a local folder as a site on a server, and looks after what is there:\n"
                                "  tavrel-publish --settings FILE FOLDER\n"
                                "  tavrel-publish --settings FILE --list [PATH]\n"
                                "  tavrel-publish --settings FILE --fetch FOLDER [PATH]\n"
                                "  tavrel-publish --settings FILE --remove [PATH...]\n"
                                "  tavrel-publish --settings FILE --chmod MODE PATH...\n"
                                "  tavrel-publish --settings FILE --doctor";

struct Row
{
    const char* name;
    const char* description;
    const char* value = "";
};

const QVector<Row> ROWS {
    { "settings", "The target, as a settings dialog saves it.", "file" },
    { "list", "List what is on the server below PATH." },
    { "details", "List with permissions, sizes and times." },
    { "fetch", "Fetch all files below PATH.", "folder" },
    { "remove", "Remove the PATHs; without one, all that is in the site." },
    { "chmod", "Set the permissions of the PATHs.", "octal mode" },
    { "doctor", "Try the connection and the folder step by step." },
    { "dry-run", "Show what would be sent and removed." },
    { "delete", "Remove what was sent before and is not in FOLDER any more." },
    { "all", "Send unchanged files, too." },
    { "check", "Compare with what is on the server, and repair that." },
    { "connections", "Connections side by side, 1 to 8; 4 by default.", "number" },
    { "exclude", "Leave out what matches; can be repeated.", "glob" },
    { "temporary-names", "Upload under a temporary name and rename." },
    { "keep-times", "Keep the modification times of files." },
    { "known-hosts", "SFTP: accept only the hosts of this file.", "file" },
    { "pin", "FTPS: accept only this public key; can be repeated.", "sha256//key" },
    { "ca", "FTPS: accept only certificates of these authorities.", "file" },
    { "stall", "Give up a connection after so long without a byte; 60 by default.", "seconds" },
    { "insecure", "Accept any server." },
    { "identity", "SFTP: log in with this private key.", "file" },
    { "agent", "SFTP: log in with the keys of the SSH agent." },
    { "json", "Print a line of JSON per event." },
    { "quiet", "Print failures only." },
};

/// Whether a path names the site or a folder above it, as "$UNSET/" does.
bool isAbove(const QString& path)
{
    const QStringList names = QDir::cleanPath(path).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return names.isEmpty() || names.last() == QLatin1String(".") || names.last() == QLatin1String("..");
}

} // namespace

Options::Options()
{
    mParser.setApplicationDescription(QString::fromLatin1(DESCRIPTION));
    mParser.addHelpOption();
    mParser.addVersionOption();
    for (const Row& row : ROWS) {
        QStringList names { QString::fromLatin1(row.name) };
        if (names.first() == QLatin1String("connections")) {
            names.prepend(QStringLiteral("j"));
        }
        mParser.addOption({ names, QString::fromLatin1(row.description), QString::fromLatin1(row.value) });
    }
    mParser.addPositionalArgument(
        QStringLiteral("FOLDER"), QStringLiteral("The folder to publish."), QStringLiteral("[FOLDER]"));
    mParser.addPositionalArgument(QStringLiteral("PATH"),
        QStringLiteral("On the server, from the site's folder; with a / in front, from the login directory."),
        QStringLiteral("[PATH...]"));
}

bool Options::fail(const QString& fault)
{
    mFault = fault;
    return false;
}

bool Options::read(const QStringList& arguments)
{
    if (!mParser.parse(arguments)) {
        return fail(mParser.errorText());
    }
    if (has("help")) {
        mParser.showHelp();
    }
    if (has("version")) {
        mParser.showVersion();
    }
    mPaths = mParser.positionalArguments();
    if (value("settings").isEmpty()) {
        return fail(QStringLiteral("needs --settings FILE; see --help"));
    }
    if (mPaths.contains(QString())) {
        return fail(QStringLiteral("a path is empty"));
    }
    return readAction() && readNumbers() && checkOptions() && readPaths();
}

bool Options::readAction()
{
    const QVector<QPair<const char*, Action>> actions { { "list", List }, { "fetch", Fetch }, { "remove", Remove },
        { "chmod", Chmod }, { "doctor", Doctor } };
    int count = 0;
    for (const auto& [name, action] : actions) {
        if (has(name)) {
            mAction = action;
            ++count;
        }
    }
    return count <= 1 || fail(QStringLiteral("does one thing at a time; see --help"));
}

bool Options::readNumbers()
{
    bool isMode = true;
    if (mAction == Chmod) {
        mMode = value("chmod").toInt(&isMode, OCTAL);
        isMode = isMode && mMode >= 0 && mMode <= MAX_MODE;
    }
    mStallTimeOut = has("stall") ? value("stall").toInt() : USUAL_STALL_SECONDS;
    if (mStallTimeOut < 1 || mStallTimeOut > MAX_STALL_SECONDS) {
        return fail(QStringLiteral("--stall needs a number from 1 to %1").arg(MAX_STALL_SECONDS));
    }
    bool isNumber = true;
    if (has("connections")) {
        mConnections = value("connections").toInt(&isNumber);
        isNumber = isNumber && mConnections >= 1 && mConnections <= FolderPublisher::MAX_CONNECTIONS;
    }
    if (!isMode) {
        return fail(QStringLiteral("a mode is an octal number, such as 644"));
    }
    return isNumber || fail(QStringLiteral("-j needs a number from 1 to %1").arg(FolderPublisher::MAX_CONNECTIONS));
}

/// An option that another action ignored could do harm: --remove would not be a dry run.
bool Options::checkOptions()
{
    if (mAction != Publish) {
        for (const char* name :
            { "dry-run", "delete", "all", "check", "connections", "exclude", "temporary-names", "keep-times" }) {
            const bool isForFetch = mAction == Fetch && qstrcmp(name, "keep-times") == 0;
            if (has(name) && !isForFetch) {
                return fail(QStringLiteral("--%1 is for publishing a folder").arg(QString::fromLatin1(name)));
            }
        }
    }
    const bool isVerified = has("pin") || has("ca") || has("known-hosts");
    return !(has("insecure") && isVerified) || fail(QStringLiteral("--insecure excludes --pin, --ca, --known-hosts"));
}

bool Options::readPaths()
{
    switch (mAction) {
    case Publish:
        mFolder = mPaths.value(0);
        return mPaths.size() == 1 || fail(QStringLiteral("needs one FOLDER to publish; see --help"));
    case Fetch:
        mFolder = value("fetch");
        return (!mFolder.isEmpty() && mPaths.size() <= 1) || fail(QStringLiteral("needs FOLDER and one PATH at most"));
    case List:
        return mPaths.size() <= 1 || fail(QStringLiteral("lists one PATH at a time"));
    case Chmod:
        return !mPaths.isEmpty() || fail(QStringLiteral("needs a PATH to change"));
    case Doctor:
        return mPaths.isEmpty() || fail(QStringLiteral("--doctor needs no path"));
    case Remove:
        return !std::any_of(mPaths.begin(), mPaths.end(), isAbove)
            || fail(QStringLiteral("--remove takes no path that contains the site; without one it empties the site"));
    }
    return true;
}
