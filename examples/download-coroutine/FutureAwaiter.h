#pragma once

#include <QFuture>
#include <QFutureWatcher>

#include <coroutine>

//! [awaiter]
/// Suspends a coroutine until a future has finished. The coroutine continues on the thread that awaits, by its event
/// loop.
class FutureAwaiter
{
public:
    explicit FutureAwaiter(const QFuture<bool>& future)
        : mFuture(future)
    {
    }

    bool await_ready() const { return mFuture.isFinished(); }
    void await_suspend(std::coroutine_handle<> coroutine) const
    {
        auto* const watcher = new QFutureWatcher<bool>;
        QObject::connect(watcher, &QFutureWatcherBase::finished, watcher, [watcher, coroutine] {
            watcher->deleteLater();
            coroutine.resume();
        });
        watcher->setFuture(mFuture);
    }
    bool await_resume() const { return mFuture.result(); }

private:
    QFuture<bool> mFuture;
};

/// Lets `co_await` take a QFuture<bool>.
inline FutureAwaiter operator co_await(const QFuture<bool>& future)
{
    return FutureAwaiter(future);
}
//! [awaiter]
