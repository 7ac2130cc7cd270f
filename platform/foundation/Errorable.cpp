#include "Errorable.h"

ErrorMessages Errorable::sErrorMessages;

QString Errorable::errorMessage() const
{
    return hasError() ? sErrorMessages.value(mError) : QString();
}

void Errorable::clearError()
{
    mError = ErrorableCode();
}

void Errorable::_setError(const ErrorableCode& code)
{
    mError = code;
}
