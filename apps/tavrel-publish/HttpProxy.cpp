#include "HttpProxy.h"

#include <QNetworkProxyFactory>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace {

/// The first of two variables that is set, as libcurl reads them.
QString variable(const QString& name)
{
    const QString value = qEnvironmentVariable(name.toLatin1().constData());
    return value.isEmpty() ? qEnvironmentVariable(name.toUpper().toLatin1().constData()) : value;
}

/// Whether no_proxy excepts a host, as libcurl reads it.
bool isExcepted(const QString& host)
{
    static const QRegularExpression separators(QStringLiteral("[, ]+"));
    const QStringList names = variable(QStringLiteral("no_proxy")).split(separators);
    return std::any_of(names.begin(), names.end(), [&host](const QString& name) {
        const QString domain = name.startsWith(QLatin1Char('.')) ? name.mid(1) : name;
        return name == QLatin1String("*") || host == domain
            || (!domain.isEmpty() && host.endsWith(QLatin1Char('.') + domain));
    });
}

QString named(const QString& host, int port)
{
    return port > 0 ? QStringLiteral("%1:%2").arg(host, QString::number(port)) : host;
}

} // namespace

QString HttpProxy::nameFor(const QUrl& url)
{
    if (isExcepted(url.host())) {
        return QString();
    }
    const QNetworkProxyQuery query(url, QNetworkProxyQuery::UrlRequest);
    const QNetworkProxy system = QNetworkProxyFactory::systemProxyForQuery(query).value(0);
    if (system.type() != QNetworkProxy::NoProxy) {
        return system.type() == QNetworkProxy::Socks5Proxy ? QString() : named(system.hostName(), system.port());
    }
    QString text = variable(url.scheme() + QStringLiteral("_proxy"));
    text = text.isEmpty() ? variable(QStringLiteral("all_proxy")) : text;
    const QUrl proxy(text.contains(QLatin1String("://")) ? text : QStringLiteral("http://") + text);
    return proxy.scheme().startsWith(QLatin1String("http")) ? named(proxy.host(), proxy.port()) : QString();
}
