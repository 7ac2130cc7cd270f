#pragma once

#include "PublishOptions.h"
#include "RecordDownload.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPFailure.h>

#include <functional>

/// A session of a run: a client with the settings of the run, and what its failures mean for the run.
class PublishSession
{
public:
    /// Ties the client to the interruption of the run, and adds the application's own settings.
    using Prepare = std::function<bool(FTPCurl& client)>;

    static constexpr int MAX_FAILURES = 3;

    /// Opens the session; nothing is sent. The client's error tells why it could not be opened.
    bool open(const FTPSettings& settings, const PublishOptions& options, const Prepare& prepare);

    FTPCurl& client() { return mClient; }
    /// Whether the last request has reached the server.
    bool isConnected() const { return mIsConnected; }
    /// Runs a request, and remembers whether it has reached the server.
    FTPFailure::Kind request(const std::function<bool()>& request);
    /// Runs a request that needs the connection, up to three times more when that breaks or the server refuses for the
    /// moment, with pauses.
    FTPFailure::Kind requestPatiently(const std::function<bool()>& request);
    /// Whether requests over FTP enter the directory of their path. Otherwise, as by default, commands name the whole
    /// path, which saves round trips; but then it cannot be asked whether a directory exists.
    void setEntersDirectories(bool enters);
    /// Logs in, before there is anything to do.
    void connect();
    /// Logs in and downloads the record of the site, or tries to.
    void connect(RecordDownload& record);
    bool fetch(RecordDownload& record);
    /// Waits before a further attempt; an interruption ends that.
    void pause(int failures) const;

private:
    void connectBy(const std::function<bool()>& request);

    FTPCurl mClient;
    bool mIsConnected = false;
};
