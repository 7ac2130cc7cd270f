#pragma once

#include <QByteArray>

#include <optional>

/// What is enciphered in both directions: "###", the length of the payload as a signed 32-bit number, low byte first,
/// and the payload. Pure functions on bytes.
namespace SecuredEnvelope {

/// What stands in front of a payload.
QByteArray header(const QByteArray& payload);

/// The payload of an envelope; nothing when the marker is missing or the memory for the payload cannot be had.
/// The length is trusted: a payload that is shorter is filled up with zeros, bytes beyond it are cut off.
std::optional<QByteArray> open(QByteArray envelope);

} // namespace SecuredEnvelope
