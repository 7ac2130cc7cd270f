#pragma once

#ifdef __clang__
// Its warning about the destructor of VirtualFile would appear wherever a list of them is used.
#pragma clang system_header
#endif

#include <tavrel/tavrel_export.h>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

/// @file
/// Entries of remote directories.

/**
 * One entry of a remote directory: its name, whether it is a directory, and the properties of servers with locks.
 *
 * The constructors take the full description of an entry but store only the name and the directory flag. A value type.
 */
// Deliberate: a value type without a virtual destructor; it is never deleted through a pointer to a base.
class TAVREL_EXPORT VirtualFile // NOLINT(cppcoreguidelines-virtual-class-destructor)
{
public:
    VirtualFile() = default;
    VirtualFile(const VirtualFile& other) = default; ///< Copies all fields.
    /// Stores name and isDir; the other arguments are ignored.
    VirtualFile(const QString& name, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);
    /// Stores the decoded last segment of the URL's path as the name, and isDir. The name is empty if the path ends in
    /// a slash.
    VirtualFile(const QUrl& url, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);

    /// Copies the five properties through the virtual setters, so that a derived class notices every copy.
    VirtualFile& operator=(const VirtualFile& other);

    /// Compares the name and the properties. A directory and a file of the same name are equal.
    bool operator==(const VirtualFile& other) const;
    bool operator!=(const VirtualFile& other) const { return !(*this == other); } ///< The opposite of ==.

    /// Calls initProperties(), then stores name and isDir; the other arguments are ignored.
    void init(const QString& name, int permissions, const QString& owner, const QString& group, qint64 size,
        const QDateTime& lastModified, const QDateTime& lastRead, bool isDir, bool isFile, bool isSymLink,
        bool isWritable, bool isReadable, bool isExecutable);
    /// Resets the lock flag, its time-out and its owner, and isDir, but not the token, the content type and the name.
    void initProperties();

    /// The fields as they were set; empty, 0 or false at first.
    ///@{
    const QString& name() const { return mName; }
    bool isDir() const { return mIsDir; }
    bool isLocked() const { return mLocked; }
    /// As it was set, in the caller's unit.
    qint64 lockTimeOut() const { return mLockTimeOut; }
    QString lockToken() const { return mLockToken; }
    QString lockOwner() const { return mLockOwner; }
    QString contentType() const { return mContentType; }
    ///@}

    /// Sets a property; any value is accepted.
    ///@{
    virtual void setLocked(bool locked) { mLocked = locked; }
    virtual void setLockTimeOut(qint64 timeOut) { mLockTimeOut = timeOut; }
    virtual void setLockToken(const QString& token) { mLockToken = token; }
    virtual void setLockOwner(const QString& owner) { mLockOwner = owner; }
    virtual void setContentType(const QString& type) { mContentType = type; }
    ///@}

private:
    bool mLocked = false;
    qint64 mLockTimeOut = 0;
    QString mLockToken;
    QString mLockOwner;
    QString mContentType;
    QString mName;
    bool mIsDir = false;
};

/// The entries of a directory, in the order of the server.
using VirtualFileList = QList<VirtualFile>;
