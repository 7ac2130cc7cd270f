#pragma once

#include "SiteRecord.h"

#include <foundation/SystemFiles.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QIODevice>

/**
 * A local file as the source of an upload, which hashes what it reads.
 *
 * The file is named by its bytes, whatever the locale. Its size is the one at open(); hasChanged() tells whether the
 * content that was read may be a mixture of two states.
 */
class UploadSource : public QIODevice
{
    Q_OBJECT

public:
    explicit UploadSource(QByteArray path);

    /// ReadOnly. Fails with a reason in errorString() for anything but a file that can be read.
    bool open(OpenMode mode) override;
    void close() override;
    bool seek(qint64 position) override;
    qint64 size() const override { return mSize; }

    /// Whether the file has other bytes, or was written, since open().
    bool hasChanged() const;
    /// Of all that has been read, which is the file when it was read to its end.
    Digest digest() const;
    qint64 bytesRead() const { return mRead; }
    QDateTime modified() const;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 maxSize) override;

private:
    QByteArray mPath;
    QFile mFile;
    QCryptographicHash mHash { QCryptographicHash::Sha256 };
    qint64 mSize = 0;
    qint64 mRead = 0;
    SystemFiles::Stamp mStamp; ///< when it was opened
    bool mHasChanged = false;
};
