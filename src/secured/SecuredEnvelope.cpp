#include "SecuredEnvelope.h"

#include <foundation/SystemMemory.h>

#include <QtEndian>

#include <algorithm>

namespace {

const QByteArray MARKER = "###";
constexpr int LENGTH_BYTES = 4;
constexpr int HEADER_BYTES = 3 + LENGTH_BYTES;

/// payload, and zeros up to a length.
QByteArray padded(const QByteArray& payload, int length)
{
    // Deliberate: a payload shorter than its length field is accepted.
    QByteArray bytes(length, Qt::Uninitialized);
    char* const padding = std::copy(payload.begin(), payload.end(), bytes.data());
    SystemMemory::zero(padding, static_cast<size_t>(bytes.data() + length - padding));
    return bytes;
}

} // namespace

QByteArray SecuredEnvelope::header(const QByteArray& payload)
{
    char length[LENGTH_BYTES];
    qToLittleEndian(static_cast<qint32>(payload.size()), length); // more is not encrypted
    return MARKER + QByteArray(length, LENGTH_BYTES);
}

std::optional<QByteArray> SecuredEnvelope::open(QByteArray envelope, qint64 limit)
{
    if (!envelope.startsWith(MARKER) || envelope.size() < HEADER_BYTES) {
        return std::nullopt;
    }
    const int length = qMax(qFromLittleEndian<qint32>(envelope.constData() + MARKER.size()), 0);
    if (limit > 0 && length > limit) {
        return std::nullopt;
    }
    envelope.remove(0, HEADER_BYTES);
    if (length > envelope.size()) {
        return padded(envelope, length);
    }
    envelope.truncate(length);
    return envelope;
}
