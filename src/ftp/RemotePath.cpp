#include "RemotePath.h"

#include <algorithm>
#include <utility>

namespace {

const QString TWO_SLASHES = QStringLiteral("//");
const QString FROM_LOGIN_DIRECTORY = QStringLiteral("/./");

QString betweenSlashes(QString folder)
{
    if (folder.isEmpty()) {
        return folder;
    }
    if (!folder.startsWith(RemotePath::SLASH)) {
        folder.prepend(RemotePath::SLASH);
    }
    if (!folder.endsWith(RemotePath::SLASH)) {
        folder.append(RemotePath::SLASH);
    }
    return folder;
}

QString canonicalForm(const QString& path, const QString& folder)
{
    if (path.isEmpty()) {
        return path;
    }
    QString result = path.startsWith(RemotePath::SLASH) ? path : betweenSlashes(folder) + path;
    while (result.contains(TWO_SLASHES)) {
        result.replace(TWO_SLASHES, RemotePath::SLASH);
    }
    if (!result.startsWith(FROM_LOGIN_DIRECTORY)) {
        result.prepend(result.startsWith(RemotePath::SLASH) ? QStringLiteral("/.") : FROM_LOGIN_DIRECTORY);
    }
    return result;
}

bool isControlCharacter(QChar character)
{
    return character < QLatin1Char(' ');
}

} // namespace

RemotePath::RemotePath(const QString& path, const Base& base)
    : mCanonical(canonicalForm(path, base.folder))
{
    if (base.hasLeadingSlash) {
        mCanonical.prepend(SLASH);
    }
}

RemotePath::RemotePath(QString canonical)
    : mCanonical(std::move(canonical))
{
}

QString RemotePath::withoutMarker(QString canonical)
{
    if (canonical.startsWith(TWO_SLASHES)) {
        canonical.remove(0, 1);
    }
    if (canonical.startsWith(FROM_LOGIN_DIRECTORY)) {
        canonical.remove(0, FROM_LOGIN_DIRECTORY.size());
    } else if (canonical.startsWith(SLASH)) {
        canonical.remove(0, 1);
    }
    return canonical;
}

QString RemotePath::withOneSlash(QString path)
{
    while (path.startsWith(TWO_SLASHES)) {
        path.remove(0, 1);
    }
    const bool hasMarker = path.startsWith(FROM_LOGIN_DIRECTORY);
    const bool isTilde = hasMarker && path.startsWith(FROM_LOGIN_DIRECTORY + TILDE);
    return hasMarker && !isTilde ? path.mid(FROM_LOGIN_DIRECTORY.size() - 1) : path;
}

bool RemotePath::isDirectory() const
{
    return mCanonical.endsWith(SLASH);
}

RemotePath RemotePath::withoutTrailingSlash() const
{
    return RemotePath(withoutTrailingSlash(mCanonical));
}

RemotePath RemotePath::parent() const
{
    const QString entry = withoutTrailingSlash(mCanonical);
    return RemotePath(entry.left(qMax(entry.lastIndexOf(SLASH), 0)));
}

QString RemotePath::withoutTrailingSlash(QString path)
{
    if (path.endsWith(SLASH)) {
        path.chop(1);
    }
    return path;
}

bool RemotePath::isSendable() const
{
    return std::none_of(mCanonical.begin(), mCanonical.end(), isControlCharacter);
}
