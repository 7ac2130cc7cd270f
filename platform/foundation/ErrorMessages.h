#pragma once

#include <foundation/ErrorableCode.h>
#include <foundation/foundation_export.h>

#include <QMap>

#include <mutex>

/**
 * The message texts of a process, one per error code, ordered by code.
 *
 * Every operation may be called from any thread at any time. As there is one text per code, a message with a detail (a
 * limit, a reply) comes from the last object that failed with this code.
 */
class FOUNDATION_EXPORT ErrorMessages
{
public:
    /// Sets the message for code, replacing an earlier one.
    void insert(const ErrorableCode& code, const QString& message);

    /// The message for code; empty if there is none.
    QString value(const ErrorableCode& code) const;

    bool contains(const ErrorableCode& code) const; ///< Whether there is a message for code.

private:
    mutable std::mutex mMutex;
    QMap<ErrorableCode, QString> mTexts;
};
