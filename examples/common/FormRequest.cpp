#include "FormRequest.h"

#include <foundation/FileUtils.h>

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

void FormRequest::addTo(QCommandLineParser& parser)
{
    parser.addOptions({
        { QStringLiteral("file"), QStringLiteral("Attach this file."), QStringLiteral("path") },
        { QStringLiteral("binary"), QStringLiteral("Ask for a binary reply and write it here."),
            QStringLiteral("path") },
    });
    parser.addPositionalArgument(QStringLiteral("URL"), QStringLiteral("Where to send it."));
    parser.addPositionalArgument(QStringLiteral("JSON"), QStringLiteral("A JSON object."));
}

bool FormRequest::read(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    const QJsonDocument document = QJsonDocument::fromJson(arguments.value(1).toUtf8());
    if (arguments.size() != 2 || !document.isObject()) {
        mFault = QStringLiteral("needs a URL and a JSON object; see --help");
        return false;
    }
    mUrl = arguments.first();
    mJson = document.object();
    mBinaryPath = parser.value(QStringLiteral("binary"));
    const QString path = parser.value(QStringLiteral("file"));
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
