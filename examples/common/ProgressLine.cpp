#include "ProgressLine.h"

#include "Terminal.h"

#include <foundation/FileUtils.h>

#include <cstdio>

namespace {

constexpr int BAR_WIDTH = 30;
constexpr qint64 LINE_WITHOUT_SIZE_EVERY_MS = 5000;
constexpr qint64 SOONEST_ESTIMATE_MS = 1000;

QString remaining(double percent, qint64 elapsedMs)
{
    if (percent <= 0.0 || elapsedMs < SOONEST_ESTIMATE_MS) {
        return QString();
    }
    const double seconds = static_cast<double>(elapsedMs) / 1000.0 * (100.0 - percent) / percent;
    return QStringLiteral(", %1 s left").arg(seconds, 0, 'f', 0);
}

QString percentText(double percent)
{
    return percent < 0.0 ? QStringLiteral("    ") : QStringLiteral("%1 %").arg(percent, 3, 'f', 0);
}

} // namespace

ProgressLine::ProgressLine()
    : mTerminal(Terminal::width() > 0)
{
    mTime.start();
}

void ProgressLine::show(double percent, qint64 bytes)
{
    const qint64 elapsedMs = qMax<qint64>(mTime.elapsed(), 1);
    const QString details = FileUtils::fileSizeToString(bytes) + QStringLiteral(", ")
        + FileUtils::fileSizeToString(bytes * 1000 / elapsedMs) + QStringLiteral("/s") + remaining(percent, elapsedMs);
    if (mTerminal) {
        drawBar(percent, details);
    } else {
        printLine(percent, details);
    }
}

void ProgressLine::drawBar(double percent, const QString& details)
{
    const int filled = qBound(0, static_cast<int>(percent * BAR_WIDTH / 100.0), BAR_WIDTH);
    const QString bar = QString(filled, QLatin1Char('#')).leftJustified(BAR_WIDTH, QLatin1Char('.'));
    mBar = QStringLiteral("\r[%1] %2  %3\033[K").arg(bar, percentText(percent), details).toUtf8();
    std::fputs(mBar.constData(), stderr);
}

void ProgressLine::printLine(double percent, const QString& details)
{
    const bool isDue
        = percent < 0.0 ? mTime.elapsed() >= mNextSilentMs : percent >= static_cast<double>(mNextTenth * 10);
    if (!isDue) {
        return;
    }
    mNextTenth = percent < 0.0 ? 0 : static_cast<int>(percent) / 10 + 1;
    mNextSilentMs = mTime.elapsed() + LINE_WITHOUT_SIZE_EVERY_MS;
    std::fprintf(stderr, "%s  %s\n", qUtf8Printable(percentText(percent)), qUtf8Printable(details));
}

void ProgressLine::print(const QString& line)
{
    if (!mBar.isEmpty()) {
        std::fputs("\r\033[K", stderr);
    }
    std::printf("%s\n", qUtf8Printable(printable(line)));
    std::fflush(stdout);
    std::fputs(mBar.constData(), stderr);
}

void ProgressLine::finish()
{
    if (!mBar.isEmpty()) {
        std::fputc('\n', stderr);
        mBar.clear();
    }
}

QString ProgressLine::printable(const QString& text)
{
    QString shown = text;
    for (QChar& character : shown) {
        const bool isObeyed
            = character.category() == QChar::Other_Control || character.category() == QChar::Other_Format;
        character = isObeyed ? QChar(QChar::ReplacementCharacter) : character;
    }
    return shown;
}
