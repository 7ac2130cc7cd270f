#pragma once

#include <coroutine>
#include <exception>

/// The result type of a coroutine that nobody waits for: it begins at once, and is gone at its end.
struct DetachedTask
{
    struct promise_type
    {
        DetachedTask get_return_object() const { return {}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const { }
        [[noreturn]] void unhandled_exception() const { std::terminate(); }
    };
};
