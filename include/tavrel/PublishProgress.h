#pragma once

#include <QMetaType>

/// How far a FolderPublisher has come. Totals count the files to send, and are 0 until the folder has been read.
struct PublishProgress
{
    int files = 0; ///< sent and verified, or failed
    int totalFiles = 0; ///< to send
    qint64 bytes = 0; ///< handed to the servers; a file that is sent again counts once
    qint64 totalBytes = 0; ///< of those files
    double bytesPerSecond = 0.0; ///< over the last seconds
    int secondsLeft = -1; ///< an estimate; -1 while there is none
};

Q_DECLARE_METATYPE(PublishProgress)
