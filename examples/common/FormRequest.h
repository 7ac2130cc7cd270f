#pragma once

#include <tavrel/HTTPCurl.h>

#include <QByteArray>
#include <QCommandLineParser>
#include <QJsonObject>
#include <QString>

/// The command line of the programs that post a form: URL JSON [--file PATH] [--binary PATH].
class FormRequest
{
public:
    explicit FormRequest(const QString& description);

    void addOptions(const QList<QCommandLineOption>& options) { mParser.addOptions(options); }
    /// False, with the reason in fault(), if the arguments are invalid or the file cannot be read.
    bool read();
    bool isSet(const QString& option) const { return mParser.isSet(option); }
    QString value(const QString& option) const { return mParser.value(option); }

    /// Writes the binary part of a reply, if one was requested; false, with the reason in fault(), if that fails.
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

    QCommandLineParser mParser;
    QString mFault;
    QString mUrl;
    QJsonObject mJson;
    QByteArray mFileData;
    QString mBinaryPath;
};
