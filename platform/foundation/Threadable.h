#pragma once

#include <foundation/foundation_export.h>

#include <QObject>

#include <memory>

class Interruption;
class Thread;

/**
 * Base of the objects whose work can be stopped by asking a Thread for interruption.
 *
 * setThreadForInterrupt() is called before the work begins. isInterruptionRequested() may be called at any moment, also
 * after the Thread is gone. An interruption stays until the Thread starts again.
 */
class FOUNDATION_EXPORT Threadable : public QObject
{
    Q_OBJECT

public:
    /// Tied to no thread at first.
    explicit Threadable(QObject* parent = nullptr);

    /// Ties this object to the interruption of thread; null unties it.
    virtual void setThreadForInterrupt(Thread* thread);

    bool isInterruptionRequested() const; ///< May be called from any thread.

protected:
    /// The flag to check, or to register wake-ups with; null while the object is tied to no thread.
    const std::shared_ptr<Interruption>& interruption() const { return mInterruption; }

private:
    friend class Thread;

    std::shared_ptr<Interruption> mInterruption;
};
