#pragma once

#include <tavrel/PublishProgress.h>

#include <QString>

#include <optional>

class FTPCurl;
class Report;

/// A task on a server. run() is called on the thread of a Worker; progress() may be called from any thread.
class Task
{
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    /// The outcome of a path in the report, such as "fetched"; empty if successes are not counted.
    virtual QString outcome() const { return QString(); }
    /// Runs the task in an open session while the report allows it to continue.
    virtual void run(FTPCurl& client, Report& report) = 0;
    /// Nothing if the size of the task is unknown.
    virtual std::optional<PublishProgress> progress() const { return std::nullopt; }
};
