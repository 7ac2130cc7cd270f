#include "Thread.h"

#include "Threadable.h"

Thread::Thread(QObject* parent)
    : QThread(parent)
    , mInterruption(std::make_shared<Interruption>())
{
    // QThread's own flag is set by calls through a pointer to QThread, whose functions are not virtual.
    mInterruption->setSource([this] { return QThread::isInterruptionRequested() && !mIsFlagOutdated; });
    connect(this, &QThread::started, this, &Thread::forgetOldInterruption, Qt::DirectConnection);
    connect(this, &QThread::finished, this, [this] { onFinished(); });
}

Thread::~Thread()
{
    Thread::interruptAndWait();
    mInterruption->setSource(nullptr);
}

void Thread::addThreadableChild(Threadable* child)
{
    child->setThreadForInterrupt(this);
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
    mInterruption->request();
    if (isRunning()) {
        QThread::requestInterruption();
    }
}

bool Thread::isInterruptionRequested() const
{
    return mInterruption->isRequested();
}

void Thread::onFinished() { }

std::shared_ptr<Interruption> Thread::interruption() const
{
    return mInterruption;
}

void Thread::clearInterruption()
{
    // QThread resets its own flag at the next start only.
    mIsFlagOutdated = QThread::isInterruptionRequested();
    mInterruption->clear();
    mIsCleared = true;
}

/// Runs on the new thread before run(). QThread::start(), called through the base, has not cleared the interruption.
void Thread::forgetOldInterruption()
{
    mIsFlagOutdated = false;
    if (!mIsCleared.exchange(false)) {
        mInterruption->clear();
    }
}

void Thread::interruptAndWait()
{
    Thread::requestInterruption();
    quit();
    wait();
}
