#include "ErrorMessages.h"

void ErrorMessages::insert(const ErrorableCode& code, const QString& message)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    mTexts.insert(code, message);
}

QString ErrorMessages::value(const ErrorableCode& code) const
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mTexts.value(code);
}

bool ErrorMessages::contains(const ErrorableCode& code) const
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mTexts.contains(code);
}
