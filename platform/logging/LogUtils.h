#pragma once

#include <QString>

/**
 * One log entry, in the category "tavrel" of Qt's logging, emitted when the object is destroyed.
 *
 * File, function and line travel in the message context, so an application filters and redirects the entries
 * with QLoggingCategory, QT_LOGGING_RULES and qInstallMessageHandler. No text is built for a type that the category
 * disables. Used by one thread at a time; the entries of several threads are not mixed up.
 */
class LogUtils
{
public:
    enum Type {
        Debug = 2,
        Warning = 4,
    };

    /// file and function are kept by pointer: pass literals.
    LogUtils(int type, const char* file, const char* function, int line);
    ~LogUtils();

    LogUtils(const LogUtils&) = delete;
    LogUtils& operator=(const LogUtils&) = delete;

    /// Appends text unchanged, without a separator.
    LogUtils& operator<<(const QString& text);
    LogUtils& operator<<(const char* utf8);
    /// Appends any bytes: control characters, and bytes that are not UTF-8, are escaped, as in "\x00". Of more than
    /// 16 MiB, the beginning and "… (N bytes)".
    LogUtils& operator<<(const QByteArray& bytes);

    /// Closes the entry: removes blanks and line breaks at its end.
    void checkSpacing();

private:
    int mType;
    const char* mFile;
    const char* mFunction;
    int mLine;
    QString mText;
};
