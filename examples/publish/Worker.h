#pragma once

#include "Report.h"

#include <tavrel/FTPSettings.h>
#include <tavrel/PeerTrust.h>

#include <foundation/Thread.h>

class Task;

/// Runs a task on a thread of its own. requestInterruption() ends it within 0.3 s, even if the server is silent.
class Worker : public Thread
{
    Q_OBJECT

public:
    /// The task outlives the worker.
    Worker(const FTPSettings& settings, Task& task, const PeerTrust& trust = PeerTrust());
    ~Worker() override;

    /// To be used after the thread has finished.
    const Report& report() const { return mReport; }

Q_SIGNALS:
    /// One line for the user; emitted on the worker's thread.
    void line(const QString& text);

protected:
    void run() override;

private:
    FTPSettings mSettings;
    Task& mTask;
    PeerTrust mTrust;
    Report mReport;
};
