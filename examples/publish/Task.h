#pragma once

#include <QString>

#include <optional>

class FTPCurl;
class Report;

/// How far a task is. The percentage is negative while it is not known.
struct Progress
{
    double percent = -1.0;
    qint64 bytes = 0;
};

/// Something to do on a server. run() is called on the thread of a Worker; progress() may be called from any thread.
class Task
{
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    /// What a success counts as in the summary, such as "files sent"; empty when it does not count.
    virtual QString done() const { return QString(); }
    /// Does the task with an open session, as far as report says that it goes on.
    virtual void run(FTPCurl& client, Report& report) = 0;
    /// Nothing for a task whose end cannot be foreseen.
    virtual std::optional<Progress> progress() const { return std::nullopt; }
};
