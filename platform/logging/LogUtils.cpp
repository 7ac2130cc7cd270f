#include "LogUtils.h"

#include <QDebug>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(tavrelLog, "tavrel")

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

LogUtils& LogUtils::operator<<(const QByteArray& utf8)
{
    return *this << QString::fromUtf8(utf8);
}

void LogUtils::checkSpacing()
{
    while (!mText.isEmpty() && mText.back().isSpace()) {
        mText.chop(1);
    }
}
