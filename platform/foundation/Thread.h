#pragma once

#include <foundation/foundation_export.h>

#include <QScopedPointer>
#include <QThread>

class Threadable;

/**
 * A QThread that passes its interruption on to the objects that work on it.
 *
 * An interruption stays until the thread starts again: a child that is used after the end of the thread still sees it.
 * QThread::requestInterruption() and QThread::start(), called through a pointer to the base, have the same effects with
 * three exceptions: that interruption ends with run(), it does not wake up work that is blocked in a system call, and
 * it is ignored for the rest of a run in which clearInterruption() has found it set already.
 *
 * Destroying a running Thread interrupts it, quits its event loop and waits for its end; destroying one that is not
 * running interrupts nothing. A subclass whose run() uses members of its own calls interruptAndWait() in its
 * destructor, as those members are gone when the destructor of this class runs.
 *
 * requestInterruption() and isInterruptionRequested() may be called from any thread.
 */
class FOUNDATION_EXPORT Thread : public QThread
{
    Q_OBJECT

public:
    /// Does not start the thread.
    explicit Thread(QObject* parent = nullptr);
    ~Thread() override;

    /// Lets child see the interruption of this thread. The child stays its owner's.
    void addThreadableChild(Threadable* child);

    /// Starts run() and forgets an earlier interruption. Does nothing while running.
    void start(Priority priority = InheritPriority);

    /// Asks the work on this thread to stop soon.
    virtual void requestInterruption();
    bool isInterruptionRequested() const; ///< Until the next start.

    /// Called after run() has returned, by the event loop of the thread in which this object lives.
    virtual void onFinished();

protected:
    /// Forgets an interruption, also while running. The next start keeps one that is requested from here on.
    void clearInterruption();
    void interruptAndWait(); ///< Interrupts, quits the event loop and waits for the end.

private:
    friend class Threadable;
    struct State;

    void shareInterruption(Threadable& child) const;
    void forgetOldInterruption();

    const QScopedPointer<State> mState;
};
