#include <tavrel/HttpQueryParameters.h>

#include <QStringList>
#include <QUrl>

#include <algorithm>

namespace {

QString rendered(const HttpQuerySingleParameter& param)
{
    if (!param.encoded()) {
        return param.value();
    }
    return QString::fromUtf8(QUrl::toPercentEncoding(param.value(), QByteArray(), " "));
}

int compareKeys(const HttpQuerySingleParameter& a, const HttpQuerySingleParameter& b)
{
    return QString::compare(a.key(), b.key(), Qt::CaseInsensitive);
}

} // namespace

const QString HttpQueryParameters::SEPARATOR = QStringLiteral("&");

void HttpQueryParameters::addParam(const QString& key, const QString& value, bool encoded)
{
    if (key.isEmpty()) {
        return;
    }
    const int present = indexOf(key);
    if (present >= 0) {
        mParameters.removeAt(present);
    }
    mParameters.append(HttpQuerySingleParameter(key, value, encoded));
}

void HttpQueryParameters::addParam(const HttpQuerySingleParameter& param)
{
    addParam(param.key(), param.value(), param.encoded());
}

void HttpQueryParameters::addParamEncoded(const QString& key, const QString& value)
{
    addParam(key, value, true);
}

HttpQueryParameters& HttpQueryParameters::operator+=(const HttpQueryParameters& other)
{
    // A copy, as other may be this list.
    const QList<HttpQuerySingleParameter> added = other.mParameters;
    for (const HttpQuerySingleParameter& param : added) {
        addParam(param);
    }
    return *this;
}

HttpQuerySingleParameter HttpQueryParameters::at(int i) const
{
    return mParameters.value(i);
}

int HttpQueryParameters::count() const
{
    return static_cast<int>(mParameters.count());
}

int HttpQueryParameters::indexOf(const QString& key) const
{
    const auto found = std::find_if(mParameters.begin(), mParameters.end(),
        [&key](const auto& param) { return key.compare(param.key(), Qt::CaseInsensitive) == 0; });
    return found == mParameters.end() ? -1 : static_cast<int>(found - mParameters.begin());
}

bool HttpQueryParameters::contains(const QString& key) const
{
    return indexOf(key) >= 0;
}

QString HttpQueryParameters::toString() const
{
    QStringList pieces;
    for (const HttpQuerySingleParameter& param : mParameters) {
        pieces << param.key() + QLatin1Char('=') + rendered(param);
    }
    return pieces.join(SEPARATOR);
}

QString HttpQueryParameters::toJson() const
{
    QStringList members;
    for (const HttpQuerySingleParameter& param : mParameters) {
        // Deliberate: successive substitutions without escaping, as receivers rely on this text.
        members << QStringLiteral("\"%1\":\"%2\"").arg(param.key()).arg(rendered(param));
    }
    return QLatin1Char('{') + members.join(QLatin1Char(',')) + QLatin1Char('}');
}

void HttpQueryParameters::sort(Qt::SortOrder order)
{
    std::sort(mParameters.begin(), mParameters.end(), order == Qt::AscendingOrder ? keyLessThan : keyGreaterThan);
}

bool HttpQueryParameters::keyLessThan(const HttpQuerySingleParameter& a, const HttpQuerySingleParameter& b)
{
    return compareKeys(a, b) < 0;
}

bool HttpQueryParameters::keyGreaterThan(const HttpQuerySingleParameter& a, const HttpQuerySingleParameter& b)
{
    return compareKeys(a, b) > 0;
}
