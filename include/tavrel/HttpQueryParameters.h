#pragma once

#include <tavrel/HttpQuerySingleParameter.h>
#include <tavrel/tavrel_export.h>

#include <QList>
#include <QString>

/**
 * Ordered key/value parameters of a request, at most one per key; the comparison of keys ignores case.
 *
 * HTTPCurl::postHttp() sends them as form fields; toString() and toJson() render them as text. A value type,
 * copied cheaply. Nothing here fails.
 */
class TAVREL_EXPORT HttpQueryParameters
{
public:
    /// Separates the parameters of a query string: "&".
    static const QString SEPARATOR;

    /// Appends a parameter. One with the same key is removed first; an empty key is ignored.
    void addParam(const QString& key, const QString& value, bool encoded = false);
    void addParam(const HttpQuerySingleParameter& param); ///< Appends param as it is.
    /// Calls addParam(key, value, true).
    void addParamEncoded(const QString& key, const QString& value);

    /// Adds every parameter of other, in its order.
    HttpQueryParameters& operator+=(const HttpQueryParameters& other);

    /// The parameter at position i; an empty one if i is out of bounds.
    HttpQuerySingleParameter at(int i) const;
    int count() const; ///< The number of parameters.
    /// The position of key, or -1.
    int indexOf(const QString& key) const;
    bool contains(const QString& key) const; ///< Ignores case.

    /// "key=value&key=value", without a question mark. Keys are never encoded, values if they were added so.
    QString toString() const;

    /// {"key":"value","key":"value"}. Nothing is escaped, and a "%2" in a key is replaced by the value: use QJsonObject
    /// for text from outside.
    QString toJson() const;

    /// Sorts by key, ignoring case.
    void sort(Qt::SortOrder order);

    /// The orders of sort().
    ///@{
    static bool keyLessThan(const HttpQuerySingleParameter& a, const HttpQuerySingleParameter& b);
    static bool keyGreaterThan(const HttpQuerySingleParameter& a, const HttpQuerySingleParameter& b);
    ///@}

private:
    QList<HttpQuerySingleParameter> mParameters;
};
