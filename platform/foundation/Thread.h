#pragma once

#include <foundation/Interruption.h>
#include <foundation/foundation_export.h>

#include <QThread>

#include <memory>

class Threadable;

/**
 * A QThread that carries its interruption to the objects that work on it.
 *
 * Destroying a running Thread interrupts it and waits for its end. A subclass whose run() uses members of its
 * own calls interruptAndWait() in its destructor, as those members are gone when the one of this class runs.
 *
 * requestInterruption() and isInterruptionRequested() may be called from any thread.
 */
class FOUNDATION_EXPORT Thread : public QThread
{
    Q_OBJECT

public:
    explicit Thread(QObject* parent = nullptr);
    ~Thread() override;

    /// Lets child see the interruption of this thread. The child stays its owner's.
    void addThreadableChild(Threadable* child);

    /// Starts run() and forgets an interruption that was asked for before. Does nothing while running.
    void start(Priority priority = InheritPriority);

    /// Asks what runs on this thread to stop soon. The wish lasts until the next start.
    virtual void requestInterruption();
    bool isInterruptionRequested() const;

    /// Called after run() has returned, by the event loop of the thread in which this object lives.
    virtual void onFinished();

    /// What Threadable objects look at; stays valid after this object is gone.
    std::shared_ptr<Interruption> interruption() const;

protected:
    void clearInterruption();
    void interruptAndWait();

private:
    std::shared_ptr<Interruption> mInterruption;
};
