#pragma once

#include <QString>

#include <functional>

/// The greeting of a server on a new connection.
namespace FirstWords {

/// The first line, such as "220 FTP server ready" or "SSH-2.0-OpenSSH_9.2"; empty if the server waits for the client or
/// cannot be reached. Ends early when isEnough returns true.
QString of(const QString& host, int port, const std::function<bool()>& isEnough);

} // namespace FirstWords
