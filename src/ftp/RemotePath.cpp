#include "RemotePath.h"

namespace {

const QChar SLASH = QLatin1Char('/');
const QString TWO_SLASHES = QStringLiteral("//");
const QString FROM_LOGIN_DIRECTORY = QStringLiteral("/./");

QString betweenSlashes(QString folder)
{
    if (folder.isEmpty()) {
        return folder;
    }
    if (!folder.startsWith(SLASH)) {
        folder.prepend(SLASH);
    }
    if (!folder.endsWith(SLASH)) {
        folder.append(SLASH);
    }
    return folder;
}

} // namespace

QString canonicalRemotePath(const QString& path, const QString& base, bool isSftp)
{
    QString result;
    if (!path.isEmpty()) {
        result = path.startsWith(SLASH) ? path : betweenSlashes(base) + path;
        while (result.contains(TWO_SLASHES)) {
            result.replace(TWO_SLASHES, SLASH);
        }
        if (!result.startsWith(FROM_LOGIN_DIRECTORY)) {
            result.prepend(result.startsWith(SLASH) ? QStringLiteral("/.") : FROM_LOGIN_DIRECTORY);
        }
    }
    if (isSftp) {
        result.prepend(SLASH);
    }
    return result;
}

QString relativeRemotePath(QString canonicalPath)
{
    if (canonicalPath.startsWith(TWO_SLASHES)) {
        canonicalPath.remove(0, 1);
    }
    if (canonicalPath.startsWith(FROM_LOGIN_DIRECTORY)) {
        canonicalPath.remove(0, FROM_LOGIN_DIRECTORY.size());
    } else if (canonicalPath.startsWith(SLASH)) {
        canonicalPath.remove(0, 1);
    }
    return canonicalPath;
}

QString withoutTrailingSlash(QString path)
{
    if (path.endsWith(SLASH)) {
        path.chop(1);
    }
    return path;
}

bool isPathSendable(const QString& path)
{
    return !path.contains(QLatin1Char('\r')) && !path.contains(QLatin1Char('\n')) && !path.contains(QChar(QChar::Null));
}
