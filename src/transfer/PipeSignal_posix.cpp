#include "PipeSignal.h"

#include <csignal>

namespace {

sigset_t pipeSignal()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

void dropPending(const sigset_t& signal)
{
#ifdef __APPLE__
    sigset_t pending;
    int dropped = 0;
    if (sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1) {
        sigwait(&signal, &dropped);
    }
#else
    const timespec atOnce {};
    sigtimedwait(&signal, nullptr, &atOnce);
#endif
}

} // namespace

PipeSignal::PipeSignal()
{
    const sigset_t signal = pipeSignal();
    sigset_t before;
    mIsBlocked = pthread_sigmask(SIG_BLOCK, &signal, &before) == 0 && sigismember(&before, SIGPIPE) == 0;
}

PipeSignal::~PipeSignal()
{
    if (mIsBlocked) {
        const sigset_t signal = pipeSignal();
        dropPending(signal);
        pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
    }
}
