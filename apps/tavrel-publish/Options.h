#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

/// The command line.
class Options
{
public:
    enum Action { Publish, List, Fetch, Remove, Chmod, Doctor };

    Options();

    /// False, with the reason in fault(), if the arguments are invalid. Prints help and version, and ends the program
    /// then.
    bool read(const QStringList& arguments);
    const QString& fault() const { return mFault; }

    Action action() const { return mAction; }
    /// The local folder of Publish and Fetch.
    const QString& folder() const { return mFolder; }
    /// On the server.
    const QStringList& paths() const { return mPaths; }
    int mode() const { return mMode; }
    int connections() const { return mConnections; }
    /// In seconds.
    int stallTimeOut() const { return mStallTimeOut; }

    /// An option by its name, without "--".
    bool has(const char* name) const { return mParser.isSet(QString::fromLatin1(name)); }
    QString value(const char* name) const { return mParser.value(QString::fromLatin1(name)); }
    QStringList values(const char* name) const { return mParser.values(QString::fromLatin1(name)); }

private:
    bool fail(const QString& fault);
    bool readAction();
    bool readNumbers();
    bool checkOptions();
    bool readPaths();

    QCommandLineParser mParser;
    QString mFault;
    Action mAction = Publish;
    QString mFolder;
    QStringList mPaths;
    int mMode = -1;
    int mConnections = 0;
    int mStallTimeOut = 0;
};
