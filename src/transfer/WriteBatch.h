#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QIODevice>

/**
 * Buffers the writes to a file: libcurl delivers at most 16 KiB at a time, and each write is a system call.
 *
 * Bytes that arrive slowly are passed on at once, so that the file grows with the transfer. The owner calls flush() at
 * the end.
 */
class WriteBatch : public QIODevice
{
public:
    /// The target outlives this object.
    explicit WriteBatch(QIODevice& target);

    /// Opens the target too, unless it is open.
    bool open(OpenMode mode) override;
    bool isSequential() const override { return true; }
    /// False if the target did not accept all bytes.
    bool flush();

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QIODevice& mTarget;
    QByteArray mHeld;
    QElapsedTimer mSinceFlush;
};
