#pragma once

#include <tavrel/HTTPCurl.h>

#include <QByteArray>
#include <QJsonObject>
#include <QString>

class QCommandLineParser;

/// What the programs that post a form take from the command line: URL JSON [--file PATH] [--binary PATH].
class FormRequest
{
public:
    static void addTo(QCommandLineParser& parser);

    /// False, with the reason in fault(), when the arguments make no request or the file cannot be read.
    bool read(const QCommandLineParser& parser);
    /// Writes the binary part of a reply, if it was asked for; false with the reason in fault().
    bool keepBinaryReply(const HTTPCurl& client);

    /// Why the last request of a client failed, for people.
    static QString reasonOf(const HTTPCurl& client);

    const QString& fault() const { return mFault; }
    const QString& url() const { return mUrl; }
    const QJsonObject& json() const { return mJson; }
    const QByteArray& fileData() const { return mFileData; }
    bool wantsBinaryReply() const { return !mBinaryPath.isEmpty(); }

private:
    bool readFile(const QString& path);

    QString mFault;
    QString mUrl;
    QJsonObject mJson;
    QByteArray mFileData;
    QString mBinaryPath;
};
