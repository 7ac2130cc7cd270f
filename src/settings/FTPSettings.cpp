#include <tavrel/FTPSettings.h>

#include <QCoreApplication>
#include <QCryptographicHash>

namespace {

constexpr int NO_PORT = -1;
constexpr int FTP_PORT = 21;
constexpr int SSH_PORT = 22;

QString translated(const char* text)
{
    return QCoreApplication::translate("FTPSettings", text);
}

void removeBlanks(QString& text)
{
    text = text.remove(QLatin1Char(' ')).simplified();
}

} // namespace

FTPSettings::FTPSettings() = default;

QString FTPSettings::ftpProtocolToString(Protocol protocol)
{
    switch (protocol) {
    case FTP:
        return QStringLiteral("FTP");
    case FTPS_EXPLICIT:
        return QStringLiteral("FTPS Explicit (TLS)");
    case FTPS_IMPLICIT:
        return QStringLiteral("FTPS Implicit (TLS)");
    case SFTP:
        return QStringLiteral("SFTP");
    }
    return QStringLiteral("Undefined protocol");
}

int FTPSettings::defaultPort(Protocol protocol)
{
    switch (protocol) {
    case FTP:
    case FTPS_EXPLICIT:
        return FTP_PORT;
    case SFTP:
        return SSH_PORT;
    case FTPS_IMPLICIT:
        break; // Deliberate: the user has to give the port.
    }
    return NO_PORT;
}

QFlags<FTPSettings::Protocol> FTPSettings::currentUsedProtocols()
{
    return FTP | FTPS_EXPLICIT | SFTP;
}

int FTPSettings::port() const
{
    return mPort > 0 ? mPort : defaultPort(mProtocol);
}

bool FTPSettings::isPwdEmpty() const
{
    return mPassword.isEmpty();
}

QString FTPSettings::cleanFolderFormat(const QString& folder)
{
    const QString cleaned = folder.simplified().remove(QLatin1Char(' '));
    return cleaned.isEmpty() || cleaned.endsWith(QLatin1Char('/')) ? cleaned : cleaned + QLatin1Char('/');
}

QString FTPSettings::publicUrl() const
{
    return cleanFolderFormat(mPublicUrl);
}

QString FTPSettings::publicSubFolder() const
{
    return cleanFolderFormat(mPublicSubFolder);
}

QString FTPSettings::ftpFolder() const
{
    return cleanFolderFormat(mFtpFolder);
}

QString FTPSettings::publicFullAdress() const
{
    return publicUrl() + publicSubFolder();
}

void FTPSettings::clean()
{
    removeBlanks(mHost);
    removeBlanks(mUser);
    mFtpFolder = cleanFolderFormat(mFtpFolder);
    mPublicSubFolder = cleanFolderFormat(mPublicSubFolder);
    mPublicUrl = publicUrl();
}

bool FTPSettings::validateSettings(QString& message) const
{
    const char* fault = nullptr;
    if (mHost.isEmpty()) {
        fault = QT_TRANSLATE_NOOP("FTPSettings", "Host is empty");
    } else if (mUser.isEmpty()) {
        fault = QT_TRANSLATE_NOOP("FTPSettings", "User is empty");
    } else if (isPwdEmpty()) {
        fault = QT_TRANSLATE_NOOP("FTPSettings", "Password is empty");
    } else if (mPublicUrl.isEmpty()) {
        fault = QT_TRANSLATE_NOOP("FTPSettings", "Public URL is empty");
    }
    if (fault) {
        message = translated(fault);
    }
    return fault == nullptr;
}

QString FTPSettings::friendlyLabel() const
{
    QString label = ftpProtocolToString(mProtocol) + QStringLiteral("://");
    label += mHost.isEmpty() ? QStringLiteral("???") : mHost;
    if (port() != defaultPort(mProtocol)) {
        label += QLatin1Char(':') + QString::number(port());
    }
    if (!mHost.isEmpty() && mPassiveMode) {
        const char* const note = QT_TRANSLATE_NOOP("FTPSettings", "Shortname passive mode");
        label += QStringLiteral(" (") + translated(note) + QLatin1Char(')');
    }
    return label;
}

QString FTPSettings::dumpInfos()
{
    return ftpProtocolToString(mProtocol) + QLatin1Char('\n') + mHost + QLatin1Char(':') + QString::number(port());
}

QString FTPSettings::signatureSettings() const
{
    // Deliberate: no separator between sub-folder and user, as signatures of known targets must not change.
    const QString target = mHost + QLatin1Char('_') + ftpFolder() + QLatin1Char('_') + publicSubFolder() + mUser;
    const QByteArray digest = QCryptographicHash::hash(target.toUtf8(), QCryptographicHash::Md5);
    return QString::fromLatin1(digest.toBase64(QByteArray::Base64UrlEncoding));
}

bool FTPSettings::isEqualsPublication(const FTPSettings* other, bool& changed) const
{
    const bool isEqual = mHost == other->mHost && mUser == other->mUser && publicSubFolder() == other->publicSubFolder()
        && ftpFolder() == other->ftpFolder();
    if (!isEqual) {
        changed = true;
    }
    return isEqual;
}
