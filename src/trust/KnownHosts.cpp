#include "KnownHosts.h"

#include <QCryptographicHash>
#include <QMessageAuthenticationCode>
#include <QRegularExpression>
#include <QtEndian>

namespace {

constexpr int SSH_PORT = 22;
constexpr int MIN_FIELDS = 3; ///< names, type, key
constexpr int LENGTH_BYTES = 4;

const QByteArray HASHED = "|1|";

bool matchesHash(const QByteArray& hashed, const QByteArray& name)
{
    const QByteArrayList parts = hashed.mid(HASHED.size()).split('|');
    const QByteArray salt = QByteArray::fromBase64(parts.value(0));
    const QByteArray hash = QByteArray::fromBase64(parts.value(1));
    return hash == QMessageAuthenticationCode::hash(name, salt, QCryptographicHash::Sha1);
}

bool matchesPattern(const QByteArray& pattern, const QByteArray& name)
{
    QString expression = QRegularExpression::escape(QString::fromLatin1(pattern));
    expression.replace(QLatin1String("\\*"), QLatin1String(".*")).replace(QLatin1String("\\?"), QLatin1String("."));
    const QRegularExpression anchored(
        QRegularExpression::anchoredPattern(expression), QRegularExpression::CaseInsensitiveOption);
    return anchored.match(QString::fromLatin1(name)).hasMatch();
}

bool matches(const QByteArray& patterns, const QByteArray& name)
{
    if (patterns.startsWith(HASHED)) {
        return matchesHash(patterns, name);
    }
    bool isMatch = false;
    for (const QByteArray& pattern : patterns.split(',')) {
        const bool isNegated = pattern.startsWith('!');
        if (matchesPattern(pattern.mid(isNegated ? 1 : 0), name)) {
            if (isNegated) {
                return false;
            }
            isMatch = true;
        }
    }
    return isMatch;
}

/// A key begins with the length and the text of its type.
QByteArray typeOf(const QByteArray& key)
{
    if (key.size() < LENGTH_BYTES) {
        return QByteArray();
    }
    const auto size = qFromBigEndian<quint32>(key.constData());
    return key.mid(LENGTH_BYTES, static_cast<int>(qMin(size, static_cast<quint32>(key.size()))));
}

} // namespace

KnownHosts::KnownHosts(const QByteArray& content, const QByteArray& host, int port)
    : mName(port == SSH_PORT ? host : '[' + host + "]:" + QByteArray::number(port))
{
    for (const QByteArray& line : content.split('\n')) {
        readLine(line.simplified().split(' '), host);
    }
}

void KnownHosts::readLine(QByteArrayList fields, const QByteArray& host)
{
    const QByteArray marker = fields.first().startsWith('@') ? fields.takeFirst() : QByteArray();
    if (fields.size() < MIN_FIELDS || fields.first().startsWith('#')) {
        return;
    }
    const QByteArray key = QByteArray::fromBase64(fields.at(2));
    const bool hasName = matches(fields.first(), mName);
    if (!hasName && !matches(fields.first(), host)) {
        return;
    }
    if (marker == "@revoked") {
        mRevokedKeys << key;
    } else if (marker.isEmpty()) {
        (hasName ? mKeys : mKeysOfAnyPort) << key;
    }
}

KnownHosts::Verdict KnownHosts::verdictOn(const QByteArray& key) const
{
    if (mRevokedKeys.contains(key)) {
        return Verdict::Revoked;
    }
    if (mKeys.contains(key) || (mKeys.isEmpty() && mKeysOfAnyPort.contains(key))) {
        return Verdict::Known;
    }
    // Of whatever type: somebody in between would offer one that the file does not have.
    return mKeys.isEmpty() ? Verdict::Unknown : Verdict::Changed;
}

QByteArray KnownHosts::entry(const QByteArray& key) const
{
    return mName + ' ' + typeOf(key) + ' ' + key.toBase64() + '\n';
}

QByteArray KnownHosts::entries() const
{
    QByteArray lines;
    for (const QByteArray& key : mKeys.isEmpty() ? mKeysOfAnyPort : mKeys) {
        lines += entry(key);
    }
    return lines;
}

QByteArray KnownHosts::fingerprint(const QByteArray& key)
{
    return "SHA256:"
        + QCryptographicHash::hash(key, QCryptographicHash::Sha256).toBase64(QByteArray::OmitTrailingEquals);
}
