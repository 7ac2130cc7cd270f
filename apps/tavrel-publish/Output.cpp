#include "Output.h"

#include "Options.h"
#include "ProgressLine.h"

#include <foundation/FileUtils.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>

#include <cmath>
#include <cstdio>

namespace {

constexpr int MAX_LISTED = 10;
constexpr int STEP_WIDTH = 16;
constexpr int BYTES_WIDTH = 12;
constexpr int TIME_WIDTH = 20;

void say(const QString& line)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(ProgressLine::printable(line)));
}

bool isObeyed(uint character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Other_Control || category == QChar::Other_Format || category == QChar::Separator_Line
        || category == QChar::Separator_Paragraph;
}

/// JSON without the characters that JSON allows and terminals obey: names from a server may contain anything.
QString lineOf(const QJsonObject& event)
{
    QString line;
    for (const uint character : QString::fromUtf8(QJsonDocument(event).toJson(QJsonDocument::Compact)).toUcs4()) {
        const auto ucs4 = static_cast<char32_t>(character);
        const QString text = QString::fromUcs4(&ucs4, 1);
        if (!isObeyed(character)) {
            line += text;
            continue;
        }
        for (const QChar unit : text) {
            line += QStringLiteral("\\u%1").arg(uint { unit.unicode() }, 4, 16, QLatin1Char('0'));
        }
    }
    return line;
}

QString describe(const QJsonValue& item)
{
    return item.isString() ? item.toString()
                           : QStringLiteral("%1: %2").arg(item["path"].toString(), item["reason"].toString());
}

/// A heading and the items below it, up to a maximum.
void saySection(const QString& headline, const QJsonValue& section, int maximum)
{
    const QJsonArray items = section.toArray();
    if (items.isEmpty()) {
        return;
    }
    say(QStringLiteral("%1, %2:").arg(headline, QString::number(items.size())));
    for (int i = 0; i < qMin(maximum, items.size()); ++i) {
        say(QStringLiteral("  ") + describe(items[i]));
    }
    if (items.size() > maximum) {
        say(QStringLiteral("  and %1 more").arg(items.size() - maximum));
    }
}

/// "sent: 3, unchanged: 290, 1.2 MiB in 0.5 s"; nothing for a run that counts nothing.
void sayCounts(const QJsonObject& summary)
{
    QStringList counts;
    for (const QString& name : QStringLiteral("sent fetched changed unchanged removed").split(QLatin1Char(' '))) {
        if (summary[name].toInt() > 0 || (summary.contains(name) && counts.isEmpty())) {
            counts << QStringLiteral("%1: %2").arg(name, QString::number(summary[name].toInt()));
        }
    }
    if (!counts.isEmpty()) {
        const auto bytes = static_cast<qint64>(summary["bytes"].toDouble());
        counts << (bytes > 0 ? QStringList(FileUtils::fileSizeToString(bytes)) : QStringList());
        say(QStringLiteral("%1 in %2 s").arg(counts.join(QStringLiteral(", "))).arg(summary["seconds"].toDouble()));
    }
}

void sayFailures(const QJsonObject& summary)
{
    const QJsonArray failed = summary["failed"].toArray();
    saySection(QStringLiteral("failed"), failed, static_cast<int>(failed.size()));
    saySection(QStringLiteral("not tried"), summary["notTried"], MAX_LISTED);
    const QString reason = summary["stopReason"].toString();
    if (!reason.isEmpty()) {
        const bool isTold = failed.last()["reason"].toString() == reason;
        say(QStringLiteral("stopped early") + (isTold ? QString() : QStringLiteral(": ") + reason));
    }
    if (summary["interrupted"].toBool()) {
        say(QStringLiteral("interrupted"));
    }
    saySection(QStringLiteral("may be incomplete on the server"), summary["incomplete"], MAX_LISTED);
    if (!summary["advice"].toString().isEmpty()) {
        say(summary["advice"].toString());
    }
}

} // namespace

Output::Output(const Options& options)
    : mIsJson(options.has("json"))
    , mIsQuiet(options.has("quiet"))
    , mIsDryRun(options.has("dry-run"))
    , mIsDetailed(options.has("details"))
    , mIsDoctor(options.action() == Options::Doctor)
{
    mTime.start();
}

Output::ExitStatus Output::complain(ExitStatus status, const QString& text)
{
    say(QStringLiteral("tavrel-publish: ") + text);
    return status;
}

void Output::print(const QJsonObject& event)
{
    const QString kind = event["event"].toString();
    const bool isResult = kind == QLatin1String("summary") || kind == QLatin1String("entry")
        || event["outcome"] == QLatin1String("failed") || event["works"] == false;
    if (mIsQuiet && !isResult) {
        return;
    }
    if (mIsJson) {
        std::printf("%s\n", qUtf8Printable(lineOf(event)));
        std::fflush(stdout);
    } else if (kind == QLatin1String("progress")) {
        mBar.show(event);
    } else {
        mBar.hide();
        printText(kind, event);
        mBar.redraw();
    }
}

void Output::printText(const QString& kind, const QJsonObject& event) const
{
    if (kind == QLatin1String("file")) {
        printFile(event);
    } else if (kind == QLatin1String("entry")) {
        printEntry(event);
    } else if (kind == QLatin1String("step")) {
        printStep(event);
    } else {
        say(event["text"].toString());
    }
}

void Output::printFile(const QJsonObject& file) const
{
    const QString outcome = file["outcome"].toString();
    const QString path = file["path"].toString();
    if (outcome == QLatin1String("failed")) {
        printLine(QStringLiteral("%1  FAILED: %2").arg(path, file["reason"].toString()));
    } else if (outcome != QLatin1String("unchanged")) {
        printLine(QStringLiteral("%1  %2").arg(path, (mIsDryRun ? QStringLiteral("would be ") : QString()) + outcome));
    }
}

void Output::printEntry(const QJsonObject& entry) const
{
    const double bytes = entry["bytes"].toDouble();
    const QString details = QStringLiteral("%1 %2 %3 ")
                                .arg(entry["permissions"].toString(), -4)
                                .arg(bytes < 0 ? QString() : QString::number(bytes, 'f', 0), BYTES_WIDTH)
                                .arg(entry["modified"].toString(), TIME_WIDTH);
    printLine((mIsDetailed ? details : QString()) + entry["path"].toString());
}

void Output::printStep(const QJsonObject& step)
{
    const QString name = step["name"].toString();
    const QString detail = step["detail"].toString();
    printLine(QString::fromLatin1(step["works"].toBool() ? "ok      " : "FAILED  ")
        + (detail.isEmpty() ? name : name.leftJustified(STEP_WIDTH) + detail));
    if (!step["advice"].toString().isEmpty()) {
        printLine(QStringLiteral("        ") + step["advice"].toString());
    }
}

void Output::printLine(const QString& line)
{
    std::printf("%s\n", qUtf8Printable(ProgressLine::printable(line)));
    std::fflush(stdout);
}

Output::ExitStatus Output::conclude(QJsonObject summary)
{
    const bool isInterrupted = summary["interrupted"].toBool();
    summary["seconds"] = std::round(static_cast<double>(mTime.elapsed()) / 100.0) / 10.0;
    summary["dryRun"] = mIsDryRun;
    mBar.finish();
    if (mIsJson) {
        print(summary);
    } else if (!mIsDoctor || isInterrupted) {
        if (!mIsQuiet) {
            sayCounts(summary);
        }
        sayFailures(summary);
    }
    return isInterrupted ? Interrupted : summary["success"].toBool() ? Done : Failed;
}
