#pragma once

#include <tavrel/tavrel_export.h>

#include <QString>

/// One parameter of HttpQueryParameters, which sets its fields. A value type.
class TAVREL_EXPORT HttpQuerySingleParameter
{
public:
    HttpQuerySingleParameter() = default;

    QString key() const { return mKey; } ///< As it was added.
    QString value() const { return mValue; } ///< Not encoded.
    /// True if the value is percent-encoded in toString() and toJson().
    bool encoded() const { return mEncoded; }

private:
    friend class HttpQueryParameters;
    HttpQuerySingleParameter(const QString& key, const QString& value, bool encoded);

    QString mKey;
    QString mValue;
    bool mEncoded = false;
};
