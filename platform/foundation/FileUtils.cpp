#include "FileUtils.h"

#include <QFile>
#include <QLocale>
#include <QSaveFile>

QByteArray FileUtils::readFileContent(const QString& path, bool text)
{
    QFile file(path);
    const QIODevice::OpenMode mode = text ? QIODevice::ReadOnly | QIODevice::Text : QIODevice::ReadOnly;
    if (!file.open(mode)) {
        return QByteArray();
    }
    return file.readAll();
}

bool FileUtils::writeFileContent(const QString& path, const QByteArray& bytes, QString* error)
{
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    if (!written && error) {
        *error = file.errorString();
    }
    return written;
}

QString FileUtils::fileSizeToString(qint64 bytes)
{
    // Texts of errors read the same on every machine.
    return QLocale::c().formattedDataSize(bytes);
}
