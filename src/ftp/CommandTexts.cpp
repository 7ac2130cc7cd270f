#include "CommandTexts.h"

#include "FileMode.h"
#include "RemotePath.h"

#include <QDateTime>

namespace {

constexpr int MIN_MODE_DIGITS = 4;

// Deliberate: escaped, although commands over FTP are not.
/// libcurl takes an SFTP command apart itself: a backslash before a quote or a backslash makes it part of the path.
QString quoted(const QString& name)
{
    QString path = RemotePath::withOneSlash(name);
    path.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    path.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + path + QLatin1Char('"');
}

} // namespace

bool CommandTexts::knows(FTPSettings::Protocol protocol)
{
    switch (protocol) {
    case FTPSettings::FTP:
    case FTPSettings::FTPS_EXPLICIT:
    case FTPSettings::FTPS_IMPLICIT:
    case FTPSettings::SFTP:
        return true;
    }
    return false;
}

CommandTexts::CommandTexts(FTPSettings::Protocol protocol)
    : mIsSftp(protocol == FTPSettings::SFTP)
{
}

QString CommandTexts::list() const
{
    return mIsSftp ? QStringLiteral("ls -a") : QStringLiteral("LIST -a");
}

QString CommandTexts::makeDirectory(const QString& path) const
{
    return mIsSftp ? QStringLiteral("mkdir ") + quoted(path) : QStringLiteral("MKD ") + path;
}

QStringList CommandTexts::changeMode(const QString& path, int mode) const
{
    const QString octal = QStringLiteral("%1").arg(mode, MIN_MODE_DIGITS, FileMode::OCTAL, QLatin1Char('0'));
    if (mIsSftp) {
        const QString arguments = octal + QLatin1Char(' ') + quoted(path);
        return { QStringLiteral("chmod ") + arguments, QStringLiteral("site chmod ") + arguments };
    }
    const QString arguments = octal + QLatin1Char(' ') + path;
    return { QStringLiteral("CHMOD ") + arguments, QStringLiteral("SITE CHMOD ") + arguments };
}

QStringList CommandTexts::rename(const QString& from, const QString& to) const
{
    if (mIsSftp) {
        return { QStringLiteral("rename ") + quoted(from) + QLatin1Char(' ') + quoted(to) };
    }
    return { QStringLiteral("RNFR ") + from, QStringLiteral("RNTO ") + to };
}

QStringList CommandTexts::setTime(const QString& path, const QDateTime& time) const
{
    if (mIsSftp) {
        const QString date = time.toUTC().toString(QStringLiteral("yyyyMMdd hh:mm:ss"));
        return { QStringLiteral("mtime \"%1 GMT\" ").arg(date) + quoted(path) };
    }
    const QString arguments = time.toUTC().toString(QStringLiteral("yyyyMMddhhmmss")) + QLatin1Char(' ') + path;
    return { QStringLiteral("MFMT ") + arguments, QStringLiteral("MDTM ") + arguments };
}

QString CommandTexts::remove(const QString& path, bool isDirectory) const
{
    if (mIsSftp) {
        return (isDirectory ? QStringLiteral("rmdir ") : QStringLiteral("rm ")) + quoted(path);
    }
    return (isDirectory ? QStringLiteral("RMD ") : QStringLiteral("DELE ")) + path;
}
