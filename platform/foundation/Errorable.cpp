#include "Errorable.h"

ErrorMessages Errorable::sErrorMessages;

QString Errorable::errorMessage() const
{
    return hasError() ? sErrorMessages.value(mError) : QString();
}

QString Errorable::errorText() const
{
    const QString message = errorMessage();
    return message.isEmpty() ? mError.name() : message;
}

void Errorable::clearError()
{
    mError = ErrorableCode();
}

void Errorable::_setError(const ErrorableCode& code)
{
    mError = code;
}
