#pragma once

#include <QByteArray>

#include <optional>

/// What is enciphered in both directions: "###", the length of the payload as a signed 32-bit number, low byte first,
/// and the payload. Pure functions on bytes.
namespace SecuredEnvelope {

/// What stands in front of a payload.
QByteArray header(const QByteArray& payload);

/// The payload of an envelope. Bytes behind the announced length are cut off. A payload that is shorter than announced
/// is padded with up to 16 MiB of zeros. Nothing when the marker is missing or when more padding would be needed: a few
/// bytes must not make the client allocate 2 GiB.
std::optional<QByteArray> open(QByteArray envelope);

} // namespace SecuredEnvelope
