#include "InterruptKey.h"

#include <csignal>

namespace {

constexpr int WATCH_MS = 50;

volatile std::sig_atomic_t sPressed = 0;

void remember(int /*signal*/)
{
    sPressed = 1;
}

} // namespace

InterruptKey::InterruptKey(QObject* parent)
    : QObject(parent)
{
    std::signal(SIGINT, remember);
    std::signal(SIGTERM, remember);
#ifdef SIGHUP
    if (std::signal(SIGHUP, remember) == SIG_IGN) {
        std::signal(SIGHUP, SIG_IGN); // as nohup has asked for
    }
#endif
    connect(&mTimer, &QTimer::timeout, this, &InterruptKey::poll);
    mTimer.start(WATCH_MS);
}

bool InterruptKey::wasPressed()
{
    return sPressed != 0;
}

void InterruptKey::poll()
{
    if (wasPressed()) {
        mTimer.stop();
        Q_EMIT pressed();
    }
}
