#include "SiteRecord.h"

#include <QList>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <cstring>

namespace {

constexpr int MAX_LINE_BYTES = 64 * 1024;
const char NOT_WHOLE[] = "-";
constexpr int MAX_PATH_BYTES = 4096;
constexpr int SECOND_NAME_DIGITS = 16;
constexpr int HEXADECIMAL = 16;

/// Plain names between single slashes. No system has longer paths; each of many folders would be compared with all
/// globs.
bool isPathBelow(const QByteArray& path)
{
    if (path.size() > MAX_PATH_BYTES) {
        return false;
    }
    const QList<QByteArray> names = path.split('/');
    return std::all_of(names.begin(), names.end(), [](const QByteArray& name) {
        const bool isControlFree
            = std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) >= ' '; });
        return !name.isEmpty() && name != "." && name != ".." && isControlFree;
    });
}

} // namespace

const char* const SiteRecord::FILE_NAME = ".tavrel-site";

QString SiteRecord::newSecondName()
{
    return QStringLiteral("%1.%2")
        .arg(QLatin1String(FILE_NAME))
        .arg(QRandomGenerator::system()->generate64(), SECOND_NAME_DIGITS, HEXADECIMAL, QLatin1Char('0'));
}

bool SiteRecord::isSecondName(const QString& name)
{
    static const QRegularExpression pattern(
        QRegularExpression::anchoredPattern(QStringLiteral("\\.tavrel-site\\.(new|[0-9a-f]{16})")));
    return pattern.match(name).hasMatch();
}

bool SiteRecord::isOwnFile(const QByteArray& path)
{
    const QByteArray name = path.toLower();
    return name == FILE_NAME || isSecondName(QString::fromUtf8(name));
}

QByteArray SiteRecord::firstLine()
{
    return QByteArrayLiteral("tavrel-site 1\n");
}

QByteArray SiteRecord::separator()
{
    return QByteArrayLiteral("\t\n");
}

QByteArray SiteRecord::line(const QByteArray& path, const Entry& entry)
{
    const QByteArray digest
        = entry.isWhole ? QByteArray::fromRawData(entry.digest.data(), DIGEST_BYTES).toHex() : QByteArray(NOT_WHOLE);
    return QByteArray::number(entry.size) + ' ' + digest + ' ' + path + '\n';
}

bool SiteRecord::read(QIODevice& device, int& ignoredLines)
{
    ignoredLines = 0;
    if (device.readLine(MAX_LINE_BYTES) != firstLine()) {
        return false;
    }
    while (!device.atEnd()) {
        const QByteArray line = device.readLine(MAX_LINE_BYTES);
        if (line != "\n" && line != separator() && !readLine(line)) {
            ++ignoredLines;
        }
    }
    return true;
}

void SiteRecord::distrust()
{
    for (Entry& entry : mEntries) {
        entry.isWhole = false;
    }
}

std::optional<SiteRecord::Entry> SiteRecord::take(const QByteArray& path)
{
    const auto found = mEntries.find(path);
    if (found == mEntries.end()) {
        return std::nullopt;
    }
    const Entry entry = *found;
    mEntries.erase(found);
    return entry;
}

/// A line without its end was cut off.
bool SiteRecord::readLine(const QByteArray& line)
{
    const auto size = line.indexOf(' ');
    const auto digest = line.indexOf(' ', size + 1);
    if (size < 0 || digest < 0 || !line.endsWith('\n')) {
        return false;
    }
    Entry entry;
    bool isNumber = false;
    entry.size = line.left(size).toLongLong(&isNumber);
    const QByteArray hex = line.mid(size + 1, digest - size - 1);
    const QByteArray bytes = QByteArray::fromHex(hex);
    const QByteArray path = line.mid(digest + 1, line.size() - digest - 2);
    entry.isWhole = bytes.size() == DIGEST_BYTES && bytes.toHex() == hex;
    if (!isNumber || entry.size < 0 || !(entry.isWhole || hex == NOT_WHOLE) || !isPathBelow(path) || isOwnFile(path)) {
        return false;
    }
    if (entry.isWhole) {
        std::memcpy(entry.digest.data(), bytes.constData(), DIGEST_BYTES);
    }
    mEntries.insert(path, entry);
    ++mLines;
    return true;
}
