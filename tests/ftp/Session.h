#pragma once

#include "FtpTarget.h"
#include "ScriptedFtpServer.h"

#include <tavrel/FTPCurl.h>

/// Something that a test has an FTPCurl do.
using Operation = std::function<bool(FTPCurl&)>;
Q_DECLARE_METATYPE(Operation)

/// An Operation of one expression.
#define FTP(expression) Operation([=](FTPCurl& ftp) -> bool { return ftp.expression; })

/// A client within a session on a scripted server.
struct Session
{
    explicit Session(const FtpPlay& play = {}, const QString& folder = {})
        : server(play)
    {
        ftp.initHost(FtpTarget(FTPSettings::FTP, server.port(), folder));
    }

    ScriptedFtpServer server;
    FTPCurl ftp;
    VirtualFileList files; ///< for what is listed
};
