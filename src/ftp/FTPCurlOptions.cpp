#include "FTPCurlPrivate.h"

namespace {

constexpr int MAX_STALL_SECONDS = 24 * 60 * 60;

/// A server may repeat what it got, and the text of libcurl may hold a URL.
QString withoutPassword(QString text, const QString& password)
{
    if (!password.isEmpty()) {
        const QString mask = QStringLiteral("***");
        text.replace(password, mask);
        text.replace(QString::fromLatin1(QUrl::toPercentEncoding(password)), mask, Qt::CaseInsensitive);
    }
    return text;
}

} // namespace

bool FTPCurl::setStallTimeOut(int seconds)
{
    if (!mPrivate->checkIdle()) {
        return false;
    }
    if (seconds < 0 || seconds > MAX_STALL_SECONDS) {
        return mPrivate->refuse(
            QStringLiteral("setStallTimeOut: %1 is not between 0 and %2").arg(seconds).arg(MAX_STALL_SECONDS),
            __LINE__);
    }
    mPrivate->stallTimeOut = seconds;
    mPrivate->session.setStallTimeOut(seconds);
    return true;
}

int FTPCurl::stallTimeOut() const
{
    return mPrivate->stallTimeOut;
}

bool FTPCurl::setNameEncoding(NameEncoding encoding)
{
    if (encoding != Latin1 && encoding != Utf8) {
        return mPrivate->refuse(QStringLiteral("setNameEncoding: %1 is no encoding").arg(encoding), __LINE__);
    }
    mPrivate->nameEncoding = encoding;
    return true;
}

FTPCurl::NameEncoding FTPCurl::nameEncoding() const
{
    return mPrivate->nameEncoding;
}

QString FTPCurl::serverReply() const
{
    return withoutPassword(mPrivate->session.reason().reply, mPrivate->settings.pwd());
}

QString FTPCurl::errorDetail() const
{
    return withoutPassword(mPrivate->session.reason().detail, mPrivate->settings.pwd());
}
