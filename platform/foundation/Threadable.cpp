#include "Threadable.h"

#include "Thread.h"

Threadable::Threadable(QObject* parent)
    : QObject(parent)
{
}

void Threadable::setThreadForInterrupt(Thread* thread)
{
    // The interruption outlives the thread, so neither side has to tell the other that it goes.
    mInterruption = thread ? thread->interruption() : nullptr;
}

bool Threadable::isInterruptionRequested() const
{
    return mInterruption && mInterruption->isRequested();
}
