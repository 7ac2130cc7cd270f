#include <tavrel/HttpQuerySingleParameter.h>

HttpQuerySingleParameter::HttpQuerySingleParameter(const QString& key, const QString& value, bool encoded)
    : mKey(key)
    , mValue(value)
    , mEncoded(encoded)
{
}
