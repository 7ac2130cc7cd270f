#include "HTTPCurlState.h"

#include <foundation/SystemFiles.h>
#include <logging/LogUtils.h>

#include <QDir>
#include <QFile>

void HTTPCurl::setCookiepath(const QString& dir)
{
    COOKIEPATH = dir;
    QDir(dir).mkpath(QStringLiteral("."));
}

QString HTTPCurl::cookieFilePath()
{
    return COOKIEPATH + QStringLiteral("/eikooc.txt");
}

bool HTTPCurl::clearLocalSessionCookie()
{
    return QFile::remove(cookieFilePath());
}

/// libcurl opens the file by its name: it would follow a link, and take over the permissions of a file that another
/// user has made.
void HTTPCurl::State::setCookieOptions(CURL* handle)
{
    const QString path = cookieFilePath();
    if (SystemFiles::isForeign(path)) {
        LogUtils log(LogUtils::Warning, __FILE__, "setCookieOptions", __LINE__);
        log << "cookies are not kept: a link, or of another user: " << path;
        log.checkSpacing();
        curl_easy_setopt(handle, CURLOPT_COOKIEFILE, ""); // in memory, for redirections
        return;
    }
    if (!QFile::exists(path)) {
        QFile file(path);
        SystemFiles::openOwn(file, QIODevice::WriteOnly, true); // libcurl keeps its permissions.
    }
    const QByteArray cookieFile = path.toUtf8();
    curl_easy_setopt(handle, CURLOPT_COOKIEJAR, cookieFile.constData());
    curl_easy_setopt(handle, CURLOPT_COOKIEFILE, cookieFile.constData());
}
