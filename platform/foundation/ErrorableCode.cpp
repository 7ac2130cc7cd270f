#include "ErrorableCode.h"

#include <tuple>
#include <utility>

ErrorableCode::ErrorableCode(QString typeName, int value, QStringList texts, QString location, QString name)
    : mTypeName(std::move(typeName))
    , mValue(value)
    , mTexts(std::move(texts))
    , mLocation(std::move(location))
    , mName(std::move(name))
{
}

namespace {

auto identity(const ErrorableCode& code)
{
    return std::make_tuple(code.typeName(), code.value());
}

} // namespace

bool operator==(const ErrorableCode& a, const ErrorableCode& b)
{
    return identity(a) == identity(b);
}

bool operator!=(const ErrorableCode& a, const ErrorableCode& b)
{
    return !(a == b);
}

bool operator<(const ErrorableCode& a, const ErrorableCode& b)
{
    return identity(a) < identity(b);
}
