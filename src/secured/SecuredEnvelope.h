#pragma once

#include <QByteArray>

#include <optional>

/// The plaintext of both directions: "###", the length of the payload as a signed 32-bit little-endian number, and the
/// payload. Pure functions on bytes.
namespace SecuredEnvelope {

/// The bytes in front of a payload.
QByteArray header(const QByteArray& payload);

/// The payload of an envelope, of the length in the envelope: truncated, or padded with up to 16 MiB of zeros. No value
/// if the marker is missing or more padding is needed, as a few bytes must not make the client allocate 2 GiB.
std::optional<QByteArray> open(QByteArray envelope);

} // namespace SecuredEnvelope
