#include "Threadable.h"

#include "Interruption.h"
#include "Thread.h"

Threadable::Threadable(QObject* parent)
    : QObject(parent)
{
}

void Threadable::setThreadForInterrupt(Thread* thread)
{
    if (thread) {
        thread->shareInterruption(*this);
    } else {
        mInterruption.reset();
    }
}

bool Threadable::isInterruptionRequested() const
{
    return mInterruption && mInterruption->isRequested();
}
