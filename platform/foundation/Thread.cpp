#include "Thread.h"

#include "Threadable.h"

Thread::Thread(QObject* parent)
    : QThread(parent)
    , mInterruption(std::make_shared<Interruption>())
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
    mInterruption->clear();
}

void Thread::interruptAndWait()
{
    Thread::requestInterruption();
    wait();
}
