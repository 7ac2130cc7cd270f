#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QIODevice>

/**
 * Stands in front of a file and hands it large blocks, as libcurl delivers at most 16 KiB at a time and each
 * write to a file is a call to the system.
 *
 * What arrives slowly is handed on at once, so the file grows as the transfer does. The owner calls flush()
 * at the end.
 */
class WriteBatch : public QIODevice
{
public:
    /// The target outlives this object.
    explicit WriteBatch(QIODevice& target);

    /// Opens the target too, unless it is open.
    bool open(OpenMode mode) override;
    bool isSequential() const override { return true; }
    /// False when the target did not take everything.
    bool flush();

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QIODevice& mTarget;
    QByteArray mHeld;
    QElapsedTimer mSinceFlush;
};
