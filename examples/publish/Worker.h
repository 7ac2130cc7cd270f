#pragma once

#include "Report.h"

#include <tavrel/FTPSettings.h>

#include <foundation/Thread.h>

#include <functional>

class FTPCurl;
class Task;

/// Runs a task on a thread of its own. requestInterruption() ends it within 0.3 s, even if the server is silent.
class Worker : public Thread
{
    Q_OBJECT

public:
    /// Called with the client before its session; false, with the reason in error(), ends the task.
    using SetUp = std::function<bool(FTPCurl&)>;

    /// The task outlives the worker.
    Worker(const FTPSettings& settings, Task& task, SetUp setUp);
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
    SetUp mSetUp;
    Report mReport;
};
