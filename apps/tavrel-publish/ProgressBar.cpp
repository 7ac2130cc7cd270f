#include "ProgressBar.h"

#include "Terminal.h"

#include <foundation/FileUtils.h>

#include <QJsonObject>
#include <QString>
#include <QTime>

#include <cstdio>

namespace {

constexpr qint64 LINE_EVERY_MS = 5000;
constexpr int SECONDS_PER_HOUR = 3600;
constexpr int MIN_BAR = 5;
constexpr int MAX_BAR = 40;
constexpr int BRACKETS = 3; ///< and a blank

QString sizeText(const QJsonValue& bytes)
{
    return FileUtils::fileSizeToString(static_cast<qint64>(bytes.toDouble()));
}

/// From 0 to 1.
double partOf(const QJsonObject& progress)
{
    const bool isOfBytes = progress["totalBytes"].toDouble() > 0.0;
    const double total = progress[isOfBytes ? "totalBytes" : "totalFiles"].toDouble();
    return qBound(0.0, progress[isOfBytes ? "bytes" : "files"].toDouble() / qMax(total, 1.0), 1.0);
}

/// "27:03:12"
QString timeText(int seconds)
{
    const int hours = seconds / SECONDS_PER_HOUR;
    return QString::number(hours) + QTime(0, 0).addSecs(seconds % SECONDS_PER_HOUR).toString(QStringLiteral(":mm:ss"));
}

/// " 42 %, 5 of 12 files, 1.2 MiB, 300 KiB/s, 0:00:12 left"
QString detailsOf(const QJsonObject& progress)
{
    const int seconds = progress["secondsLeft"].toInt();
    const QString left = QStringLiteral(", %1 left").arg(timeText(seconds));
    return QStringLiteral("%1 %, %2 of %3 files, %4, %5/s")
               .arg(static_cast<int>(partOf(progress) * 100.0), 3)
               .arg(progress["files"].toInt())
               .arg(progress["totalFiles"].toInt())
               .arg(sizeText(progress["bytes"]), sizeText(progress["bytesPerSecond"]))
        + (seconds < 0 ? QString() : left);
}

QString barOf(double part, int room)
{
    const int width = room < MIN_BAR ? 0 : qMin(room, MAX_BAR);
    const QString filled(static_cast<int>(part * width), QLatin1Char('#'));
    return width > 0 ? QStringLiteral("[%1] ").arg(filled.leftJustified(width, QLatin1Char('.'))) : QString();
}

} // namespace

void ProgressBar::show(const QJsonObject& progress)
{
    const QString details = detailsOf(progress);
    // A character in the last column makes some terminals scroll.
    const int width = Terminal::width() - 1;
    if (width > 0) {
        const QString line = barOf(partOf(progress), width - static_cast<int>(details.size()) - BRACKETS) + details;
        mBar = '\r' + line.left(width).toUtf8() + "\033[K";
        redraw();
    } else if (mTime.elapsed() >= mNextLine) {
        mNextLine = mTime.elapsed() + LINE_EVERY_MS;
        std::fprintf(stderr, "%s\n", qUtf8Printable(details));
    }
}

void ProgressBar::hide() const
{
    if (!mBar.isEmpty()) {
        std::fputs("\r\033[K", stderr);
    }
}

void ProgressBar::redraw() const
{
    std::fputs(mBar.constData(), stderr);
}

void ProgressBar::finish()
{
    if (!mBar.isEmpty()) {
        std::fputc('\n', stderr);
        mBar.clear();
    }
}
