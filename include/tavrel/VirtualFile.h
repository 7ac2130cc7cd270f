#pragma once

#include <tavrel/tavrel_export.h>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

/**
 * One entry of a remote directory: its name, whether it is a directory, and the properties that servers with locks
 * have.
 *
 * The constructors take the full description of an entry and keep the name and the directory flag. A value type.
 */
// Deliberate: a value type whose destructor is not virtual; nobody owns one through a base class.
class TAVREL_EXPORT VirtualFile // NOLINT(cppcoreguidelines-virtual-class-destructor)
{
public:
    VirtualFile() = default;
    VirtualFile(const VirtualFile& other) = default;
    /// Takes name and isDir; the other arguments describe the entry and are not kept.
    VirtualFile(const QString& name, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);
    /// The same, with the decoded last segment of the URL's path as the name; empty for a path that ends in a slash.
    VirtualFile(const QUrl& url, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);

    /// Copies the five properties through the virtual setters, so that a derived class sees every copy.
    VirtualFile& operator=(const VirtualFile& other);

    /// Compares the name and the properties. A directory and a file of the same name are equal.
    bool operator==(const VirtualFile& other) const;
    bool operator!=(const VirtualFile& other) const { return !(*this == other); }

    /// initProperties(), then name and isDir as the constructors take them.
    void init(const QString& name, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);
    /// Resets the lock flag, its time-out and its owner, and isDir; the token, the content type and the name stay.
    void initProperties();

    const QString& name() const { return mName; }
    bool isDir() const { return mIsDir; }
    bool isLocked() const { return mLocked; }
    /// As it was set; the unit is that of whoever sets it.
    qint64 lockTimeOut() const { return mLockTimeOut; }
    QString lockToken() const { return mLockToken; }
    QString lockOwner() const { return mLockOwner; }
    QString contentType() const { return mContentType; }

    virtual void setLocked(bool locked) { mLocked = locked; }
    virtual void setLockTimeOut(qint64 timeOut) { mLockTimeOut = timeOut; }
    virtual void setLockToken(const QString& token) { mLockToken = token; }
    virtual void setLockOwner(const QString& owner) { mLockOwner = owner; }
    virtual void setContentType(const QString& type) { mContentType = type; }

private:
    bool mLocked = false;
    qint64 mLockTimeOut = 0;
    QString mLockToken;
    QString mLockOwner;
    QString mContentType;
    QString mName;
    bool mIsDir = false;
};

using VirtualFileList = QList<VirtualFile>;
