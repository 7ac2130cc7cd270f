#include "FetchFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#ifdef Q_OS_WIN
#include <QRegularExpression>
#endif

#include <algorithm>
#include <filesystem>
#include <utility>

namespace {

namespace fs = std::filesystem;

/// Gives a file the permissions of the file that it is to replace, if that exists.
std::error_code keepPermissions(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    const fs::file_status replaced = fs::symlink_status(to, error);
    error.clear(); // Nothing to replace is no failure.
    if (fs::is_regular_file(replaced)) {
        fs::permissions(from, replaced.permissions() & fs::perms::all, error);
    }
    return error;
}

const QChar SLASH = QLatin1Char('/');

/// As file systems compare names that ignore letter case and characters without a shape.
QString spellingOf(const QString& name)
{
    QString spelling;
    for (const QChar character : name.normalized(QString::NormalizationForm_KC)) {
        if (character.category() != QChar::Other_Format) {
            spelling += character;
        }
    }
    return spelling.toCaseFolded();
}

bool hasControlCharacter(const QString& name)
{
    return std::any_of(name.begin(), name.end(), [](QChar character) { return character < QLatin1Char(' '); });
}

#ifdef Q_OS_WIN
/// Whether Windows takes the name for a different name, a device, a stream or a path.
bool isOddOnWindows(const QString& name)
{
    static const QRegularExpression odd(
        QStringLiteral(
            "[<>:\"|?*\\\\]|[. ]$|^(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)[0-9\u00b9\u00b2\u00b3])( *\\.| *$)"),
        QRegularExpression::CaseInsensitiveOption);
    return odd.match(name).hasMatch();
}
#endif

} // namespace

FetchFolder::FetchFolder(QString path)
    : mPath(std::move(path))
{
    if (!mPath.endsWith(QLatin1Char('/'))) {
        mPath += QLatin1Char('/');
    }
}

bool FetchFolder::fail(const QString& reason)
{
    mFault = reason;
    return false;
}

bool FetchFolder::open()
{
    if (!QDir().mkpath(mPath)) {
        return fail(QStringLiteral("%1 cannot be created").arg(mPath));
    }
    mParts = std::make_unique<QTemporaryDir>(mPath + QStringLiteral(".fetch-XXXXXX"));
    if (!mParts->isValid()) {
        return fail(QStringLiteral("%1: %2").arg(mPath, mParts->errorString()));
    }
    mPart = mParts->filePath(QStringLiteral("part"));
    return true;
}

bool FetchFolder::isRecord(const QString& relative)
{
    return spellingOf(relative.section(SLASH, -1, -1, QString::SectionSkipEmpty))
        .startsWith(QLatin1String(".tavrel-site"));
}

QString FetchFolder::refusalOf(const QString& relative)
{
    const QString name = relative.section(SLASH, -1, -1, QString::SectionSkipEmpty);
    if (isRecord(relative) || spellingOf(name) == QLatin1String(".tavrelignore")) {
        return QStringLiteral("a file of this name controls what is published");
    }
    if (hasControlCharacter(name)) {
        return QStringLiteral("its name has a control character");
    }
#ifdef Q_OS_WIN
    if (isOddOnWindows(name)) {
        return QStringLiteral("its name means something else on Windows");
    }
#endif
    return QString();
}

bool FetchFolder::makeFolder(const QString& relative)
{
    const QString path = mPath + relative;
    // A path with a trailing slash is never a link.
    const QFileInfo info(path.chopped(1));
    if (info.isSymLink()) {
        return fail(QStringLiteral("a symbolic link here"));
    }
    return info.isDir() || QDir().mkdir(path) || fail(QStringLiteral("cannot be created here"));
}

bool FetchFolder::beginFile()
{
    // A request for an empty file writes nothing.
    QFile file(mPart);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) || fail(file.errorString());
}

bool FetchFolder::finishFile(const QString& relative)
{
    const auto from = fs::u8path(mPart.toStdString());
    const auto to = fs::u8path((mPath + relative).toStdString());
    std::error_code error = keepPermissions(from, to);
    if (!error) {
        // Not QFile::rename(), which replaces no file. A link is replaced, not followed.
        fs::rename(from, to, error);
    }
    return !error || fail(QString::fromLocal8Bit(error.message().c_str()));
}
