#pragma once

#include <QString>

class ErrorableCode;
class FTPCurl;

/// Classifies failures of an FTPCurl by their effect on later requests.
class Failure
{
public:
    /// Later requests would fail as well, or do harm.
    static bool isFinal(const ErrorableCode& code);
    /// The connection broke or could not be used; the next request makes a new one.
    static bool isOfConnection(const ErrorableCode& code);

    /// Why the last request of a client failed, for people.
    static QString reasonOf(const FTPCurl& client);
};
