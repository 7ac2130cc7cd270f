#pragma once

#include <foundation/ErrorMessages.h>
#include <foundation/ErrorableCode.h>
#include <foundation/foundation_export.h>

/**
 * Base of the classes that leave the reason of a failure behind instead of throwing.
 *
 * The error state belongs to the object and is read by the thread that uses it. The message table is shared
 * by the whole process and guards itself.
 */
class FOUNDATION_EXPORT Errorable
{
public:
    /// The reason of the last failure; a null code when there was none.
    const ErrorableCode& error() const { return mError; }

    /// The text registered for error(); empty when there is no error, or none was registered for it.
    /// error().name() names the reason in either case.
    QString errorMessage() const;

    /// The reason as text for people: errorMessage() or, where no text is registered, the name of the code. Empty
    /// without an error.
    QString errorText() const;

    bool hasError() const { return !mError.isNull(); }
    void clearError();
    void _setError(const ErrorableCode& code);

    static ErrorMessages sErrorMessages;

protected:
    Errorable() = default;
    ~Errorable() = default;

private:
    ErrorableCode mError;
};
