#pragma once

#include "Site.h"
#include "Task.h"

#include <QStringList>
#include <QVector>

/// Tries all that a publication needs, one step after the other, and tells for each one that fails which setting would
/// help. Ends with the step on which the others depend.
class Doctor : public Task
{
public:
    explicit Doctor(const Site& site);

    void run(FTPCurl& client, Report& report) override;

private:
    /// The steps of the first request.
    enum Stage { HostName, Connection, Greeting, Encryption, Login };

    bool connect();
    bool tryDataConnection();
    bool tryFolder();
    bool tryFile();
    bool remove(const QString& name);

    QVector<Stage> stages() const;
    bool isReached(Stage stage) const;
    const char* nameOf(Stage stage) const;
    QString detailOf(Stage stage) const;
    QString adviceFor(Stage stage) const;
    QString adviceForGreeting() const;
    QString adviceForEncryption() const;

    bool works(const char* name, const QString& detail = QString());
    /// Without a detail: the last request has failed.
    bool fails(const char* name, const QString& advice, const QString& detail = QString());

    const Site& mSite;
    FTPCurl* mClient = nullptr;
    Report* mReport = nullptr;
    QString mFolder; ///< of the site, for requests
    QStringList mLines; ///< that the server sent
    bool mFolderExists = false;
};
