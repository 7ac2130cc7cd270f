#pragma once

#include "Site.h"
#include "Task.h"

#include <QStringList>
#include <QVector>

class Steps;

/// Tries all that a publication needs, one step after the other, and tells for each one that fails which setting would
/// help. Ends with the step on which the others depend.
class Doctor : public Task
{
public:
    explicit Doctor(const Site& site);

    void run(FTPCurl& client, Report& report) override;

private:
    /// The steps of the first request.
    enum Stage { HostName, Connection, Greeting, Encryption, Login, Service };

    bool connect();
    bool tryListing();
    bool tryFolder();

    QVector<Stage> stages() const;
    bool isReached(Stage stage) const;
    const char* nameOf(Stage stage) const;
    QString detailOf(Stage stage) const;
    QString reasonFor(Stage stage);
    QString adviceFor(Stage stage);
    bool isWithoutService() const;
    bool isGreeted() const;
    QString proxyInTheWay() const;
    QString firstWords();

    const Site& mSite;
    FTPCurl* mClient = nullptr;
    Steps* mSteps = nullptr;
    QString mFolder; ///< of the site, for requests
    QStringList mLines; ///< that the server sent
    bool mFolderExists = false;
};
