#pragma once

#include <tavrel/tavrel_export.h>

#include <QTime>
#include <QUrl>

/// @file
/// The requests of an FTPCurl.

class FTPCurl;
class QIODevice;

/// One request of an FTPCurl. libcurl's callbacks get it as their user pointer, so it outlives the request.
struct VFSCurlData
{
    /// The kinds of requests.
    enum Kind {
        Plain = 0, ///< no body
        Download = 1, ///< a file into the device
        Upload = 2, ///< a file from the device
        Listing = 3, ///< a directory listing into the device
        ExistenceTest = 4, ///< no body; over SFTP, a directory is listed into nothing
        Removal = 5, ///< no body; a command follows
        Command = 6, ///< no body; a command that may create follows
    };

    int type = Plain; ///< a Kind; any other value makes the request fail
    FTPCurl* owner = nullptr; ///< whose handle, settings and signals are used
    /// Source or sink of the body; null without one. A closed sink is opened when the first byte arrives. A closed
    /// source is opened before anything is sent, and read from its position to its size().
    QIODevice* device = nullptr;
    QTime lastProgress = QTime::currentTime(); ///< when progress was last signalled
    QUrl url; ///< as FTPCurl::generateUrl() makes it, user and password included
};

/**
 * Runs one request of data.owner to its end, on the calling thread.
 *
 * Returns libcurl's result, or -1 when the owner has no handle or the type is no Kind. The result is
 * CURLE_ABORTED_BY_CALLBACK when the owner is interrupted before the end, and CURLE_RECURSIVE_API_CALL within another
 * request of the owner. The error state of the owner stays as it is.
 */
TAVREL_EXPORT int performCurlRequest(VFSCurlData& data);
