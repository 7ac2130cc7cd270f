#pragma once

#include <QString>

class FTPCurl;
class Site;

/// Which setting would help after a failure. An advice follows from what is certain, and is never taken from the text
/// of a server; where the cause is unknown, it refers to the server's own reply.
namespace Advice {

/// No connection was made.
QString forConnection(const FTPCurl& client);
/// A connection was made and no greeting of the protocol came. firstWords is what the server says by itself.
QString forGreeting(const Site& site, const QString& firstWords);
/// The server was not accepted, or does not agree to TLS.
QString forEncryption(const FTPCurl& client, const Site& site, const QString& firstWords);
QString forLogin(const FTPCurl& client, const Site& site);
/// A transfer could not begin.
QString forDataConnection(const FTPCurl& client);
/// An upload was refused.
QString forWriting(const FTPCurl& client);

/// Whether a server, with the lines of a reply or a greeting, refuses for now.
bool isBusy(const QString& text);

} // namespace Advice
