#pragma once

#include <QString>

/// How the library names a remote path in URLs, in listings and in its cache: with "/./" in front, as it is relative to
/// the login directory, and over SFTP with one more slash. An empty path stays empty, or is that slash.
///
/// A path that starts with "/" is taken as it is, any other one below base. The result ends in a slash only if path
/// does.
QString canonicalRemotePath(const QString& path, const QString& base, bool isSftp);

/// A canonical path without what was put in front of it.
QString relativeRemotePath(QString canonicalPath);

QString withoutTrailingSlash(QString path);

/// False when a path would end the command that carries it.
bool isPathSendable(const QString& path);
