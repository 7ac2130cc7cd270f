#pragma once

#include <tavrel/PeerTrust.h>

#include <QString>
#include <QStringList>

class FTPCurl;
class QCommandLineParser;

/// The command line.
class Options
{
public:
    enum Action { Publish, List, Details, Fetch, Remove, Chmod };

    static void addTo(QCommandLineParser& parser);

    /// False, with the reason in fault(), if the arguments are invalid.
    bool read(const QCommandLineParser& parser);

    const QString& fault() const { return mFault; }
    Action action() const { return mAction; }
    const QString& settings() const { return mSettings; }
    /// Sets a client to what the options ask for, before its session; false if it refuses that.
    bool setUp(FTPCurl& client) const;
    /// The local folder of Publish and Fetch.
    const QString& folder() const { return mFolder; }
    /// On the server.
    const QStringList& paths() const { return mPaths; }
    int mode() const { return mMode; }

private:
    bool fail(const QString& fault);
    bool readAction(const QCommandLineParser& parser);
    bool readSetUp(const QCommandLineParser& parser);
    bool readPaths();

    QString mFault;
    Action mAction = Publish;
    QString mSettings;
    PeerTrust mTrust;
    QString mSshKey;
    bool mUsesAgent = false;
    bool mUploadsWholeFiles = false;
    bool mVerifies = false;
    bool mResumes = false;
    bool mKeepsTimes = false;
    int mStallTimeOut = 0;
    QString mFolder;
    QStringList mPaths;
    int mMode = -1;
};
