#pragma once

#include "KnownHosts.h"

#include <QString>

namespace KnownHostsFile {

/// The entries of a file for a server; none without the file.
KnownHosts read(const QString& path, const QByteArray& host, int port);

/// Appends the key of a server whose verdict is Unknown, in one piece, and creates the file if necessary. The result is
/// the verdict afterwards: Known, or a different verdict if the file could not be written or another process was
/// faster.
KnownHosts::Verdict append(const QString& path, const QByteArray& host, int port, const QByteArray& key);

} // namespace KnownHostsFile
