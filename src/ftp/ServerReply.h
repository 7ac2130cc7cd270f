#pragma once

#include <QString>

/// Lines of an FTP server, such as "226 Transfer complete".
namespace ServerReply {

/// Whether a line begins with a code of three digits.
bool isOne(const QString& line);
/// Whether a reply, which may have several lines, ends with this one, and the server has done what it was asked.
bool isAcceptance(const QString& reply);
/// Whether server and libcurl open a data connection next.
bool opensDataConnection(const QString& reply);

} // namespace ServerReply
