#include "FormRequest.h"

#include <foundation/FileUtils.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

FormRequest::FormRequest(const QString& description)
{
    mParser.setApplicationDescription(description);
    mParser.addHelpOption();
    mParser.addOptions({
        { QStringLiteral("file"), QStringLiteral("Attach this file."), QStringLiteral("path") },
        { QStringLiteral("binary"), QStringLiteral("Ask for a binary reply and write it here."),
            QStringLiteral("path") },
    });
    mParser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("Where to send it."));
    mParser.addPositionalArgument(QStringLiteral("JSON"), QStringLiteral("A JSON object."));
}

bool FormRequest::read()
{
    mParser.process(QCoreApplication::arguments());
    const QStringList arguments = mParser.positionalArguments();
    const QJsonDocument document = QJsonDocument::fromJson(arguments.value(1).toUtf8());
    if (arguments.size() != 2 || !document.isObject()) {
        mFault = QStringLiteral("needs a URL and a JSON object; see --help");
        return false;
    }
    mUrl = arguments.first();
    mJson = document.object();
    mBinaryPath = value(QStringLiteral("binary"));
    const QString path = value(QStringLiteral("file"));
    return path.isEmpty() || readFile(path);
}

bool FormRequest::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        mFault = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    mFileData = file.readAll();
    const bool isWhole = mFileData.size() >= file.size(); // Qt 5 reads nothing of 2 GiB or more.
    if (!isWhole || file.error() != QFile::NoError) {
        mFault
            = QStringLiteral("%1: %2").arg(path, isWhole ? file.errorString() : QStringLiteral("too large to be read"));
        return false;
    }
    mJson.insert(QStringLiteral("#file_name#"), QFileInfo(path).fileName());
    return true;
}

bool FormRequest::keepBinaryReply(const HTTPCurl& client)
{
    QString error;
    if (!wantsBinaryReply() || FileUtils::writeFileContent(mBinaryPath, client.binaryResponse(), &error)) {
        return true;
    }
    mFault = QStringLiteral("%1: %2").arg(mBinaryPath, error);
    return false;
}

QString FormRequest::reasonOf(const HTTPCurl& client)
{
    return QStringLiteral("%1 (status %2)").arg(client.errorText(), QString::number(client.HTTPResponseCode()));
}
