#include "SecuredEnvelope.h"

#include <QtEndian>

#include <algorithm>
#include <new>

namespace {

const QByteArray MARKER = "###";
constexpr int LENGTH_BYTES = 4;
constexpr int HEADER_BYTES = 3 + LENGTH_BYTES;

} // namespace

QByteArray SecuredEnvelope::header(const QByteArray& payload)
{
    char length[LENGTH_BYTES];
    qToLittleEndian<qint32>(payload.size(), length);
    return MARKER + QByteArray(length, LENGTH_BYTES);
}

std::optional<QByteArray> SecuredEnvelope::open(QByteArray envelope)
{
    if (!envelope.startsWith(MARKER) || envelope.size() < HEADER_BYTES) {
        return std::nullopt;
    }
    const int length = qMax(qFromLittleEndian<qint32>(envelope.constData() + MARKER.size()), 0);
    envelope.remove(0, HEADER_BYTES);
    const int present = envelope.size();
    try {
        envelope.resize(length);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    if (length > present) {
        std::fill(envelope.begin() + present, envelope.end(), '\0');
    }
    return envelope;
}
