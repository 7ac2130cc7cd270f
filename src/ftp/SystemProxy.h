#pragma once

#include <foundation/Interruption.h>

#include <QNetworkProxy>
#include <QUrl>

#include <memory>
#include <optional>

namespace SystemProxy {

/// The first proxy that the system names for a URL. The system may take minutes, as it may have to load and run a
/// script; nothing is returned as soon as interruption, which may be null, is requested.
std::optional<QNetworkProxy> lookUp(const QUrl& url, const std::shared_ptr<Interruption>& interruption);

} // namespace SystemProxy
