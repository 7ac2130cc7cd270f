#include <tavrel/VirtualFile.h>

VirtualFile::VirtualFile(const QString& name, int /*permissions*/, const QString& /*owner*/, const QString& /*group*/,
    qint64 /*size*/, const QDateTime& /*lastModified*/, const QDateTime& /*lastRead*/, bool isDir, bool /*isFile*/,
    bool /*isSymLink*/, bool /*isWritable*/, bool /*isReadable*/, bool /*isExecutable*/)
    : mName(name)
    , mIsDir(isDir)
{
}

VirtualFile::VirtualFile(const QUrl& url, int permissions, const QString& owner, const QString& group, qint64 size,
    const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink, bool isWritable,
    bool isReadable, bool isExecutable)
    : VirtualFile(url.fileName(QUrl::FullyDecoded), permissions, owner, group, size, lastModified, lastRead, isDir,
        isFile, isSymLink, isWritable, isReadable, isExecutable)
{
}

VirtualFile& VirtualFile::operator=(const VirtualFile& other) // NOLINT(bugprone-unhandled-self-assignment)
{
    mName = other.mName;
    mIsDir = other.mIsDir;
    setLocked(other.mLocked);
    setLockTimeOut(other.mLockTimeOut);
    // Copies, as an overridden setter may change this object, which may be other.
    setLockToken(QString(other.mLockToken));
    setLockOwner(QString(other.mLockOwner));
    setContentType(QString(other.mContentType));
    return *this;
}

bool VirtualFile::operator==(const VirtualFile& other) const
{
    // Deliberate: a file and a directory of the same name are equal.
    return mName == other.mName && mLocked == other.mLocked && mLockTimeOut == other.mLockTimeOut
        && mLockToken == other.mLockToken && mLockOwner == other.mLockOwner && mContentType == other.mContentType;
}

void VirtualFile::init(const QString& name, int /*permissions*/, const QString& /*owner*/, const QString& /*group*/,
    qint64 /*size*/, const QDateTime& /*lastModified*/, const QDateTime& /*lastRead*/, bool isDir, bool /*isFile*/,
    bool /*isSymLink*/, bool /*isWritable*/, bool /*isReadable*/, bool /*isExecutable*/)
{
    initProperties();
    mName = name;
    mIsDir = isDir;
}

void VirtualFile::initProperties()
{
    // Deliberate: the lock owner is reset, the token and the content type are not.
    mLocked = false;
    mLockTimeOut = 0;
    mLockOwner.clear();
    mIsDir = false;
}
