#include "Thread.h"

#include "Threadable.h"

Thread::Thread(QObject* parent)
    : QThread(parent)
    , mInterruption(std::make_shared<std::atomic<bool>>(false))
{
    connect(this, &QThread::finished, this, [this] { onFinished(); });
}

Thread::~Thread()
{
    Thread::interruptAndWait();
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
    mInterruption->store(true);
    if (isRunning()) {
        QThread::requestInterruption();
    }
}

bool Thread::isInterruptionRequested() const
{
    return mInterruption->load();
}

void Thread::onFinished() { }

std::shared_ptr<const std::atomic<bool>> Thread::interruptionFlag() const
{
    return mInterruption;
}

void Thread::clearInterruption()
{
    mInterruption->store(false);
}

void Thread::interruptAndWait()
{
    Thread::requestInterruption();
    wait();
}
