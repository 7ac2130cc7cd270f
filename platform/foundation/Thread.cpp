#include "Thread.h"

#include "Interruption.h"
#include "Threadable.h"

#include <atomic>

struct Thread::State
{
    std::shared_ptr<Interruption> interruption = std::make_shared<Interruption>();
    std::atomic<bool> isCleared { false }; ///< since the last start
    std::atomic<bool> isFlagOutdated { false }; ///< QThread's flag was set before the last clearInterruption()
};

Thread::Thread(QObject* parent)
    : QThread(parent)
    , mState(new State)
{
    // QThread's own flag is set by calls through a pointer to QThread, whose functions are not virtual.
    mState->interruption->setSource([this] { return QThread::isInterruptionRequested() && !mState->isFlagOutdated; });
    connect(this, &QThread::started, this, &Thread::forgetOldInterruption, Qt::DirectConnection);
    connect(this, &QThread::finished, this, [this] { onFinished(); });
}

Thread::~Thread()
{
    // The interruption of a thread that does no work would stay with its children, which may outlive it.
    if (isRunning()) {
        Thread::requestInterruption();
    }
    quit();
    wait();
    mState->interruption->setSource(nullptr);
}

void Thread::addThreadableChild(Threadable* child)
{
    child->setThreadForInterrupt(this);
}

/// Shared ownership: a child may outlive the thread, and the thread a child.
void Thread::shareInterruption(Threadable& child) const
{
    child.mInterruption = mState->interruption;
}

void Thread::start(Priority priority)
{
    if (isRunning()) {
        return;
    }
    clearInterruption();
    QThread::start(priority);
}

void Thread::requestInterruption()
{
    mState->interruption->request();
    if (isRunning()) {
        QThread::requestInterruption();
    }
}

bool Thread::isInterruptionRequested() const
{
    return mState->interruption->isRequested();
}

void Thread::onFinished() { }

void Thread::clearInterruption()
{
    // QThread resets its own flag at the next start only.
    mState->isFlagOutdated = QThread::isInterruptionRequested();
    mState->interruption->clear();
    mState->isCleared = true;
}

/// Runs on the new thread before run(). QThread::start(), called through the base, has not cleared the interruption.
void Thread::forgetOldInterruption()
{
    mState->isFlagOutdated = false;
    if (!mState->isCleared.exchange(false)) {
        mState->interruption->clear();
    }
}

void Thread::interruptAndWait()
{
    Thread::requestInterruption();
    quit();
    wait();
}
