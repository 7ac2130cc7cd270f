#pragma once

#include <foundation/ErrorMessages.h>
#include <foundation/ErrorableCode.h>
#include <foundation/foundation_export.h>

/**
 * Base of the classes that keep the reason for a failure instead of throwing.
 *
 * The error state belongs to the object and is read by the thread that uses it. The message table is shared by the
 * whole process and is thread-safe.
 */
class FOUNDATION_EXPORT Errorable
{
public:
    /// The reason for the last failure; a null code if there was none.
    const ErrorableCode& error() const { return mError; }

    /// The text registered for error(); empty without an error, or if none was registered for it.
    QString errorMessage() const;

    /// The reason as text for people: errorMessage() or, where no text is registered, the name of the code. Empty
    /// without an error.
    QString errorText() const;

    bool hasError() const { return !mError.isNull(); } ///< True unless error() is null.
    void clearError(); ///< Makes error() null. The message table stays.
    void _setError(const ErrorableCode& code); ///< Replaces error(). The message table stays.

    static ErrorMessages sErrorMessages; ///< Of the whole process; thread-safe.

protected:
    Errorable() = default;
    ~Errorable() = default;

private:
    ErrorableCode mError;
};
