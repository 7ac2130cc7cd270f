#pragma once

#include <QString>
#include <QUrl>

/// The proxy between this machine and a server.
namespace HttpProxy {

/// Host and port of the HTTP proxy that system or environment name for a URL; empty without one.
QString nameFor(const QUrl& url);

} // namespace HttpProxy
