#pragma once

#include <QString>

#include <optional>

class FTPCurl;
class Report;

/// The progress of a task. The percentage is negative while it is unknown.
struct Progress
{
    double percent = -1.0;
    qint64 bytes = 0;
};

/// A task on a server. run() is called on the thread of a Worker; progress() may be called from any thread.
class Task
{
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    /// The name of a success in the summary, such as "files sent"; empty if successes are not counted.
    virtual QString done() const { return QString(); }
    /// Runs the task in an open session while the report allows it to continue.
    virtual void run(FTPCurl& client, Report& report) = 0;
    /// Nothing if the size of the task is unknown.
    virtual std::optional<Progress> progress() const { return std::nullopt; }
};
