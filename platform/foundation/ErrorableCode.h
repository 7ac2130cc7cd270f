#pragma once

#include <foundation/TypeUtils.h>
#include <foundation/foundation_export.h>

#include <QMetaType>
#include <QString>
#include <QStringList>

#include <type_traits>

/// @file
/// Codes of errors.

/**
 * The reason for a failure: a value of some enum type, with the name of that value and the place that raised it.
 *
 * A default-constructed code means "no error". Two codes are equal if type name and value are equal; name, texts and
 * location are not compared, so callers compare with ErrorableCode::of():
 *
 *     if (client.error() == ErrorableCode::of(HTTPCurl::NOT_FOUND_4XX)) ...
 *
 * A value type; one object is used by one thread at a time.
 */
class FOUNDATION_EXPORT ErrorableCode
{
public:
    ErrorableCode() = default;
    /// typeName must not be empty, as that makes a null code; the last three arguments are informative.
    ErrorableCode(QString typeName, int value, QStringList texts = {}, QString location = {}, QString name = {});

    /// The comparison key of an enum value: type and value only.
    template <class E> static ErrorableCode of(E value)
    {
        static_assert(std::is_enum_v<E>, "an error code is a value of an enum type, such as HTTPCurl::NOT_FOUND_4XX");
        return ErrorableCode(TypeUtils::name<E>(), static_cast<int>(value));
    }

    /// True for a default-constructed code.
    bool isNull() const { return mTypeName.isEmpty(); }

    /// The enum type, for example "HTTPCurl::Error" or "CURLcode".
    const QString& typeName() const { return mTypeName; }
    int value() const { return mValue; } ///< Of the enum; 0 for a null code.
    const QStringList& texts() const { return mTexts; } ///< Additional texts; this library sets none.
    /// "file:line" of the place that raised the error; empty if it is not known.
    const QString& location() const { return mLocation; }
    /// The symbolic name, for example "EMPTY_URL".
    const QString& name() const { return mName; }

private:
    QString mTypeName;
    int mValue = 0;
    QStringList mTexts;
    QString mLocation;
    QString mName;
};

/// Compares type name and value.
FOUNDATION_EXPORT bool operator==(const ErrorableCode& a, const ErrorableCode& b);
/// The opposite of ==.
FOUNDATION_EXPORT bool operator!=(const ErrorableCode& a, const ErrorableCode& b);
/// Orders by type name, then by value.
FOUNDATION_EXPORT bool operator<(const ErrorableCode& a, const ErrorableCode& b);

Q_DECLARE_METATYPE(ErrorableCode)
