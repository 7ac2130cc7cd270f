#include "LogUtils.h"

#include <QDebug>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(tavrelLog, "tavrel")

namespace {

constexpr int MAX_SHOWN_BYTES = 16 * 1024 * 1024; // hundreds of MB would not fit into an escaped text

bool isEnabled(int type)
{
    return type == LogUtils::Warning ? tavrelLog().isWarningEnabled() : tavrelLog().isDebugEnabled();
}

/// Line breaks would forge entries, and format characters change the order in which a text is shown.
bool isPrintable(QChar character, bool isText)
{
    const QChar::Category category = character.category();
    const bool isObeyed = category == QChar::Other_Control || category == QChar::Other_Format
        || category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
    return character == QLatin1Char('\t') || (isText ? !isObeyed : character >= ' ' && character <= '~');
}

void appendEscaped(QString& text, QChar character)
{
    static const char digits[] = "0123456789abcdef";
    const bool isByte = character.row() == 0;
    text += QLatin1String(isByte ? "\\x" : "\\u");
    for (int shift = isByte ? 4 : 12; shift >= 0; shift -= 4) {
        text += QLatin1Char(digits[character.unicode() >> shift & 0xf]);
    }
}

/// Makes all bytes visible: many message handlers cut an entry at a NUL. Bytes that are not UTF-8 are shown one by one.
QString printable(const QByteArray& bytes)
{
    const QString decoded = QString::fromUtf8(bytes.constData(), bytes.size());
    const bool isText = decoded.toUtf8() == bytes;
    QString text;
    text.reserve(bytes.size());
    for (const QChar character : isText ? decoded : QString::fromLatin1(bytes.constData(), bytes.size())) {
        if (isPrintable(character, isText)) {
            text += character;
        } else {
            appendEscaped(text, character);
        }
    }
    return text;
}

/// The beginning of many bytes, without a part of a character of UTF-8 at its end.
QByteArray beginningOf(const QByteArray& bytes)
{
    int size = MAX_SHOWN_BYTES;
    while (size > MAX_SHOWN_BYTES - 4 && (static_cast<unsigned char>(bytes.at(size)) & 0xc0) == 0x80) {
        --size;
    }
    return bytes.left(size);
}

} // namespace

LogUtils::LogUtils(int type, const char* file, const char* function, int line)
    : mType(type)
    , mFile(file)
    , mFunction(function)
    , mLine(line)
{
}

LogUtils::~LogUtils()
{
    const QMessageLogger logger(mFile, mLine, mFunction, tavrelLog().categoryName());
    QDebug entry = mType == Warning ? logger.warning(tavrelLog()) : logger.debug(tavrelLog());
    entry.noquote().nospace() << mText;
}

LogUtils& LogUtils::operator<<(const QString& text)
{
    if (isEnabled(mType)) {
        mText += text;
    }
    return *this;
}

LogUtils& LogUtils::operator<<(const char* utf8)
{
    return *this << QString::fromUtf8(utf8);
}

LogUtils& LogUtils::operator<<(const QByteArray& bytes)
{
    if (!isEnabled(mType)) {
        return *this;
    }
    if (bytes.size() <= MAX_SHOWN_BYTES) {
        return *this << printable(bytes);
    }
    return *this << printable(beginningOf(bytes)) << QStringLiteral("… (%1 bytes)").arg(bytes.size());
}

void LogUtils::checkSpacing()
{
    while (!mText.isEmpty() && mText.back().isSpace()) {
        mText.chop(1);
    }
}
