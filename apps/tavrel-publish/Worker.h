#pragma once

#include "Report.h"

#include <foundation/Thread.h>

class Site;
class Task;

/// Runs a task on a thread of its own. requestInterruption() ends it within 0.3 s, even if the server is silent.
class Worker : public Thread
{
    Q_OBJECT

public:
    /// Site and task outlive the worker.
    Worker(const Site& site, Task& task);
    ~Worker() override;

    /// To be used after the thread has finished.
    const Report& report() const { return mReport; }

Q_SIGNALS:
    /// Emitted on the worker's thread.
    void printed(const QJsonObject& event);

protected:
    void run() override;

private:
    const Site& mSite;
    Task& mTask;
    Report mReport;
};
