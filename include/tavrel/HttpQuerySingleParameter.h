#pragma once

#include <tavrel/tavrel_export.h>

#include <QString>

/// One parameter of HttpQueryParameters, which alone fills its fields. A value type.
class TAVREL_EXPORT HttpQuerySingleParameter
{
public:
    HttpQuerySingleParameter() = default;

    QString key() const { return mKey; }
    QString value() const { return mValue; }
    /// True when the value is percent-encoded where the list is rendered.
    bool encoded() const { return mEncoded; }

private:
    friend class HttpQueryParameters;
    HttpQuerySingleParameter(const QString& key, const QString& value, bool encoded);

    QString mKey;
    QString mValue;
    bool mEncoded = false;
};
