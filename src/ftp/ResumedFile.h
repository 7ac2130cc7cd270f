#pragma once

#include <QByteArray>
#include <QFile>

/**
 * A local file that a download continues, if the remote file has the same bytes at the end of the local one.
 *
 * The download starts at offset(). The first bytes written are compared with those that are there; only what follows
 * is appended. A write of bytes that differ fails, and leaves the file as it is.
 */
class ResumedFile : public QFile
{
public:
    /// How many bytes at the end are compared.
    static constexpr qint64 TAIL_BYTES = 65536;

    explicit ResumedFile(const QString& path);

    /// False, too, for a file that is empty or unreadable: there is nothing to compare.
    bool open(OpenMode mode) override;
    qint64 offset() const { return mOffset; }
    /// Whether all bytes to be compared have come and were the same.
    bool isConfirmed() const { return !mTail.isEmpty() && mCompared == mTail.size(); }

protected:
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray mTail;
    qint64 mOffset = 0;
    int mCompared = 0;
};
