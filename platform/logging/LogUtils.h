#pragma once

#include <QString>

/**
 * One log entry, in the category "tavrel" of Qt's logging, emitted when the object is destroyed.
 *
 * File, function and line travel in the message context, so an application filters and redirects the entries
 * with QLoggingCategory, QT_LOGGING_RULES and qInstallMessageHandler. Used by one thread; entries of several
 * threads do not mix.
 */
class LogUtils
{
public:
    enum Type {
        Debug = 2,
        Warning = 4,
    };

    /// The texts are literals: they are kept by pointer.
    LogUtils(int type, const char* file, const char* function, int line);
    ~LogUtils();

    LogUtils(const LogUtils&) = delete;
    LogUtils& operator=(const LogUtils&) = delete;

    /// Appends text as it stands; nothing is put between two pieces.
    LogUtils& operator<<(const QString& text);
    LogUtils& operator<<(const char* utf8);
    /// Bytes that may be anything: what is no printable UTF-8 appears as "\x00".
    LogUtils& operator<<(const QByteArray& bytes);

    /// Closes the entry: blanks and line breaks at its end are dropped.
    void checkSpacing();

private:
    int mType;
    const char* mFile;
    const char* mFunction;
    int mLine;
    QString mText;
};
