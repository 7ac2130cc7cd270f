#pragma once

#include <foundation/ErrorableCode.h>
#include <foundation/foundation_export.h>

#include <QMap>

#include <mutex>

/**
 * The message texts of a process, one per error code, ordered by code.
 *
 * Every operation may be called from any thread at any time. As one text is kept per code, a message that
 * carries a detail (a limit, a reply) is that of the last object that failed with this code.
 */
class FOUNDATION_EXPORT ErrorMessages
{
public:
    /// Keeps message for code, in place of an earlier one.
    void insert(const ErrorableCode& code, const QString& message);

    /// The text kept for code; empty when there is none.
    QString value(const ErrorableCode& code) const;

    bool contains(const ErrorableCode& code) const;

private:
    mutable std::mutex mMutex;
    QMap<ErrorableCode, QString> mTexts;
};
