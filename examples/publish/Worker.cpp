#include "Worker.h"

#include "Task.h"

#include <tavrel/FTPCurl.h>

Worker::Worker(const FTPSettings& settings, Task& task, const PeerTrust& trust)
    : mSettings(settings)
    , mTask(task)
    , mTrust(trust)
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
    if (client.setTrust(mTrust) && client.initHost(mSettings)) {
        mTask.run(client, mReport);
    } else {
        mReport.failed(mSettings.friendlyLabel(), client);
    }
}
