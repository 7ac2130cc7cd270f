#include "SecuredEnvelope.h"

#include <QtEndian>

namespace {

const QByteArray MARKER = "###";
constexpr int LENGTH_BYTES = 4;
constexpr int HEADER_BYTES = 3 + LENGTH_BYTES;
constexpr int MAX_PADDING_BYTES = 16 * 1024 * 1024;

} // namespace

QByteArray SecuredEnvelope::header(const QByteArray& payload)
{
    char length[LENGTH_BYTES];
    qToLittleEndian(static_cast<qint32>(payload.size()), length); // more is not encrypted
    return MARKER + QByteArray(length, LENGTH_BYTES);
}

std::optional<QByteArray> SecuredEnvelope::open(QByteArray envelope)
{
    if (!envelope.startsWith(MARKER) || envelope.size() < HEADER_BYTES) {
        return std::nullopt;
    }
    const int length = qMax(qFromLittleEndian<qint32>(envelope.constData() + MARKER.size()), 0);
    envelope.remove(0, HEADER_BYTES);
    const auto missing = length - envelope.size();
    if (missing > MAX_PADDING_BYTES) {
        return std::nullopt;
    }
    if (missing > 0) {
        // Deliberate: a payload shorter than its length field is accepted.
        return envelope.append(missing, '\0');
    }
    envelope.truncate(length);
    return envelope;
}
