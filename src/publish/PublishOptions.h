#pragma once

#include <tavrel/FTPCurl.h>

#include <QString>
#include <QStringList>

/// The settings of one run. For their meanings see the setters of FolderPublisher.
struct PublishOptions
{
    int connections = 4;
    bool onlyChanged = true;
    bool checkServer = false;
    bool removeObsolete = false;
    bool dryRun = false;
    bool hiddenFiles = true;
    QStringList excluded;
    FTPCurl::UploadMode uploadMode = FTPCurl::InPlace;
    bool keepModificationTime = false;
    int stallTimeOut = 60; ///< in seconds
    PeerTrust trust;
};
