#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/**
 * The file of a download that a later request may continue.
 *
 * The record beside it, "<path>.info", says which version of which URL the bytes belong to: a hash of the URL without
 * its user part, and the ETag or Last-Modified of the response. Without a record that fits, a download starts
 * anew. Neither file is opened if it is a link or belongs to another user.
 */
class PartialFile : public QFile
{
public:
    PartialFile(const QString& path, const QString& url);

    /// Opens the file at its end when the download can be continued, else empties it and removes its record.
    bool open(OpenMode mode) override;

    /// The number of bytes that are there and stay; 0 for a download that starts anew.
    qint64 offset() const { return mOffset; }
    /// The number of bytes of the whole file in front of the body that is arriving: not 0 only while the rest of the
    /// file arrives, for which a redirection or an error page may come instead.
    qint64 bytesBeforeBody() const { return mIsContinued ? mOffset : 0; }
    /// The validator for If-Range; empty for a download that starts anew.
    QByteArray validator() const { return mValidator; }

    /// Takes a line of a response head. False when the response cannot be appended; startAnew() then applies.
    bool takeHeaderLine(const QByteArray& line);
    /// True after a response that cannot be appended.
    bool isRefused() const { return mIsRefused; }
    /// Makes the next open() start anew.
    void startAnew();
    /// Removes the record of a file, if there is one.
    static void removeRecord(const QString& path);

private:
    struct Head
    {
        int status = 0;
        QByteArray etag;
        QByteArray lastModified;
        QByteArray date;
        QByteArray contentRange;
    };

    void takeField(const QByteArray& name, const QByteArray& value);
    bool acceptHead();
    bool continuesHere() const;
    QByteArray strongValidator() const;
    bool begin();
    bool writeRecord() const;
    static QString recordPath(const QString& path) { return path + QStringLiteral(".info"); }

    const QString mPath; ///< fileName() is empty once the file was open.
    const QByteArray mUrlHash;
    QByteArray mValidator;
    qint64 mOffset = 0;
    Head mHead;
    bool mIsRefused = false;
    bool mIsContinued = false; ///< the response is the rest of the file
};
