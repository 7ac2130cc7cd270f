#include "FetchFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <utility>

namespace {

namespace fs = std::filesystem;

/// Gives a file the permissions of the one that it is to replace, if there is one.
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
