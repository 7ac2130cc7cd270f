#pragma once

#include <tavrel/FTPSettings.h>

#include <QString>
#include <QStringList>

class QDateTime;

/// The raw commands that follow a request. FTP and both kinds of FTPS share one set, SFTP has libcurl's own.
class CommandTexts
{
public:
    static bool knows(FTPSettings::Protocol protocol);

    /// protocol is one that knows() accepts.
    explicit CommandTexts(FTPSettings::Protocol protocol);

    bool isSftp() const { return mIsSftp; }

    /// Replaces libcurl's own listing command.
    QString list() const;
    QString makeDirectory(const QString& path) const;
    /// To be tried in turn: servers know the one or the other.
    QStringList changeMode(const QString& path, int mode) const;
    /// One after the other.
    QStringList rename(const QString& from, const QString& to) const;
    /// To be tried in turn.
    QStringList setTime(const QString& path, const QDateTime& time) const;
    QString remove(const QString& path, bool isDirectory) const;

private:
    bool mIsSftp;
};
