#pragma once

#include <QByteArray>

#include <optional>

/// The plaintext of both directions: "###", the length of the payload as a signed 32-bit little-endian number, and the
/// payload. Pure functions on bytes.
namespace SecuredEnvelope {

/// The bytes in front of a payload.
QByteArray header(const QByteArray& payload);

/// The payload of an envelope, of the length in the envelope: truncated, or padded with zeros, which take memory only
/// when they are touched. A negative length counts as 0. No value if the marker is missing, or if the length exceeds a
/// positive limit. Throws std::bad_alloc if the payload has no place in the address space.
std::optional<QByteArray> open(QByteArray envelope, qint64 limit = 0);

} // namespace SecuredEnvelope
