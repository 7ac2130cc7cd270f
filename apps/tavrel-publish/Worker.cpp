#include "Worker.h"

#include "Site.h"
#include "Task.h"

#include <tavrel/FTPCurl.h>

Worker::Worker(const Site& site, Task& task)
    : mSite(site)
    , mTask(task)
    , mReport(task.outcome(), [this](const QJsonObject& event) { Q_EMIT printed(event); })
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
    if (mSite.prepare(client) && client.initHost(mSite)) {
        mTask.run(client, mReport);
    } else {
        mReport.failed(mSite.friendlyLabel(), client);
    }
}
