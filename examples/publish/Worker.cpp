#include "Worker.h"

#include "Task.h"

#include <tavrel/FTPCurl.h>

#include <utility>

Worker::Worker(const FTPSettings& settings, Task& task, SetUp setUp)
    : mSettings(settings)
    , mTask(task)
    , mSetUp(std::move(setUp))
    , mReport(task.done(), [this](const QString& text) { Q_EMIT line(text); })
{
}

Worker::~Worker()
{
    interruptAndWait();
}

void Worker::run()
{
    FTPCurl client; // made here, so that it lives on the thread that uses it
    addThreadableChild(&client);
    if (mSetUp(client) && client.initHost(mSettings)) {
        mTask.run(client, mReport);
    } else {
        mReport.failed(mSettings.friendlyLabel(), client);
    }
}
