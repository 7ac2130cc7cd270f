#include "LogUtils.h"

#include <QDebug>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(tavrelLog, "tavrel")

namespace {

bool isPrintable(QChar character, bool isText)
{
    if (character == QLatin1Char('\n') || character == QLatin1Char('\r') || character == QLatin1Char('\t')) {
        return true;
    }
    return isText ? character.category() != QChar::Other_Control : character >= ' ' && character <= '~';
}

void appendEscaped(QString& text, QChar character)
{
    static const char digits[] = "0123456789abcdef";
    text += QLatin1String("\\x");
    text += QLatin1Char(digits[character.cell() >> 4]);
    text += QLatin1Char(digits[character.cell() & 0xf]);
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
    mText += text;
    return *this;
}

LogUtils& LogUtils::operator<<(const char* utf8)
{
    return *this << QString::fromUtf8(utf8);
}

LogUtils& LogUtils::operator<<(const QByteArray& bytes)
{
    return *this << printable(bytes);
}

void LogUtils::checkSpacing()
{
    while (!mText.isEmpty() && mText.back().isSpace()) {
        mText.chop(1);
    }
}
