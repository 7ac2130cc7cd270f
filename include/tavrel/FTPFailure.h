#pragma once

#include <tavrel/tavrel_export.h>

#include <QString>

class FTPCurl;

/// Classifies failures of an FTPCurl by their effect on later requests. Reentrant.
class TAVREL_EXPORT FTPFailure
{
public:
    /// The effect of a failure on later requests.
    enum Kind {
        None, ///< the last request succeeded
        Interrupted, ///< an interruption was requested
        OfPath, ///< concerns the path or the arguments of the request; others may succeed
        OfConnection, ///< the connection broke, or a reply did not come; the next request makes a new one
        OfServer, ///< there is no session: host, port, login or trust; other requests would fail as well
        OfStorage, ///< the server has no space left
    };

    /// The kind of the last failure of a client.
    static Kind kindOf(const FTPCurl& client);

    /// The reason for the last failure in one line, for people: libcurl's words for the code, then the server's reply
    /// or libcurl's detailed text. Holds no password. Empty without a failure.
    static QString reasonOf(const FTPCurl& client);
};
