#include "PartialFile.h"

#include <foundation/FileUtils.h>
#include <foundation/SystemFiles.h>

#include <QCryptographicHash>
#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>

namespace {

const QByteArray RECORD_TITLE = "Tavrel partial download 1";
constexpr int MAX_VALIDATOR_BYTES = 1024;
constexpr int MAX_RECORD_BYTES = 2048;
constexpr int OK = 200;
constexpr int PARTIAL_CONTENT = 206;

/// The lines of the record of a file: its title, the hash of the URL, the validator. Empty without a record.
QList<QByteArray> readRecord(const QString& path)
{
    QFile file(path);
    if (!SystemFiles::openOwn(file, QIODevice::ReadOnly)) {
        return {};
    }
    const QList<QByteArray> lines = file.read(MAX_RECORD_BYTES).split('\n');
    return lines.size() == 3 && lines.at(0) == RECORD_TITLE ? lines : QList<QByteArray>();
}

/// Without the user part, which may hold a password: passwords are guessed from their hash.
QByteArray hashOf(QString url)
{
    static const QRegularExpression user(QStringLiteral("^([^:/?#]*:/{1,3})?[^/?#]*@"));
    url.replace(user, QStringLiteral("\\1"));
    return QCryptographicHash::hash(url.toUtf8(), QCryptographicHash::Sha256).toHex();
}

QDateTime toTime(const QByteArray& httpDate)
{
    return QLocale::c().toDateTime(QString::fromLatin1(httpDate), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
}

bool isText(const QByteArray& value)
{
    return std::all_of(value.begin(), value.end(), [](char byte) { return byte >= ' ' && byte != 0x7f; });
}

} // namespace

PartialFile::PartialFile(const QString& path, const QString& url)
    : QFile(path)
    , mPath(path)
    , mUrlHash(hashOf(url))
{
    const QList<QByteArray> record = readRecord(recordPath(path));
    if (!record.isEmpty() && record.at(1) == mUrlHash && size() > 0) {
        mOffset = size();
        mValidator = record.at(2);
    }
}

bool PartialFile::open(OpenMode /*mode*/)
{
    setFileName(mPath);
    if (mOffset > 0) {
        return SystemFiles::openOwn(*this, WriteOnly | Append);
    }
    removeRecord(mPath); // It does not describe the bytes to come.
    return SystemFiles::openOwn(*this, WriteOnly | Truncate);
}

bool PartialFile::takeHeaderLine(const QByteArray& line)
{
    const QByteArray text = line.trimmed();
    if (text.startsWith("HTTP/")) {
        mHead = Head();
        mIsContinued = false;
        mHead.status = text.mid(text.indexOf(' ') + 1, 3).toInt();
        return true;
    }
    if (text.isEmpty()) {
        return acceptHead();
    }
    const auto colon = text.indexOf(':');
    takeField(text.left(colon).toLower(), text.mid(colon + 1).trimmed());
    return true;
}

void PartialFile::takeField(const QByteArray& name, const QByteArray& value)
{
    if (name == "etag") {
        mHead.etag = value;
    } else if (name == "last-modified") {
        mHead.lastModified = value;
    } else if (name == "date") {
        mHead.date = value;
    } else if (name == "content-range") {
        mHead.contentRange = value;
    }
}

/// At the end of a head. Those of redirections and errors change nothing.
bool PartialFile::acceptHead()
{
    const bool isSuccess = mHead.status >= 200 && mHead.status < 300;
    if (mOffset > 0 && mHead.status == PARTIAL_CONTENT) {
        mIsContinued = continuesHere();
        mIsRefused = !mIsContinued;
    } else if (isSuccess) {
        mIsRefused = !begin();
    }
    return !mIsRefused;
}

/// Some servers ignore If-Range, so the validators are compared as well.
bool PartialFile::continuesHere() const
{
    const QByteArray& current = mValidator.startsWith('"') ? mHead.etag : mHead.lastModified;
    return mHead.contentRange.startsWith("bytes " + QByteArray::number(mOffset) + '-')
        && (current.isEmpty() || current == mValidator);
}

/// A weak ETag does not promise the same bytes. Neither does a Last-Modified within the second of the response, as the
/// file may have changed again since.
QByteArray PartialFile::strongValidator() const
{
    const bool isOld = toTime(mHead.lastModified).secsTo(toTime(mHead.date)) > 0;
    const QByteArray validator = mHead.etag.startsWith('"') ? mHead.etag : isOld ? mHead.lastModified : QByteArray();
    return validator.size() <= MAX_VALIDATOR_BYTES && isText(validator) ? validator : QByteArray();
}

/// Empties the file for the whole body, and records its version before the first byte arrives.
bool PartialFile::begin()
{
    removeRecord(mPath);
    mOffset = 0;
    mValidator = mHead.status == OK ? strongValidator() : QByteArray();
    return resize(0) && seek(0) && (mValidator.isEmpty() || writeRecord());
}

/// A long name leaves no room for the record's name, and a file with that name is not replaced. Without a record the
/// download only cannot be continued.
bool PartialFile::writeRecord() const
{
    const QString path = recordPath(mPath);
    return FileUtils::createPrivateFile(path, RECORD_TITLE + '\n' + mUrlHash + '\n' + mValidator)
        || readRecord(path).isEmpty();
}

void PartialFile::startAnew()
{
    mOffset = 0;
    mValidator.clear();
    mIsRefused = false;
}

void PartialFile::removeRecord(const QString& path)
{
    if (!readRecord(recordPath(path)).isEmpty()) {
        QFile::remove(recordPath(path));
    }
}
