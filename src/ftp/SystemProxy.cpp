#include "SystemProxy.h"

#include <QNetworkProxyFactory>

#include <chrono>
#include <future>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::milliseconds INTERRUPTION_INTERVAL(20);

QNetworkProxy askSystem(const QUrl& url)
{
    const QNetworkProxyQuery query(url, QNetworkProxyQuery::UrlRequest);
    return QNetworkProxyFactory::systemProxyForQuery(query).value(0);
}

// Deliberate: on a thread, also when the answer comes at once.
/// Nothing stops the system's look-up: an interrupted caller leaves it to end on its thread.
std::future<QNetworkProxy> askOnThread(const QUrl& url)
{
    auto answer = std::make_shared<std::promise<QNetworkProxy>>();
    try {
        std::thread([url, answer] { answer->set_value(askSystem(url)); }).detach();
    } catch (const std::system_error&) {
        answer->set_value(askSystem(url)); // There is no further thread to be started.
    }
    return answer->get_future();
}

} // namespace

std::optional<QNetworkProxy> SystemProxy::lookUp(const QUrl& url, const std::shared_ptr<Interruption>& interruption)
{
    if (!interruption) {
        return askSystem(url);
    }
    std::future<QNetworkProxy> proxy = askOnThread(url);
    while (proxy.wait_for(INTERRUPTION_INTERVAL) == std::future_status::timeout) {
        if (interruption->isRequested()) {
            return std::nullopt;
        }
    }
    return proxy.get();
}
