#include "Events.h"

#include <QJsonArray>
#include <QMetaEnum>

namespace {

constexpr int PERMISSIONS_BASE = 8;

} // namespace

QJsonObject Events::progress(const PublishProgress& progress)
{
    return { { "event", "progress" }, { "files", progress.files }, { "totalFiles", progress.totalFiles },
        { "bytes", progress.bytes }, { "totalBytes", progress.totalBytes },
        { "bytesPerSecond", progress.bytesPerSecond }, { "secondsLeft", progress.secondsLeft } };
}

QJsonObject Events::file(const QString& path, const QString& outcome, const QString& reason)
{
    return { { "event", "file" }, { "path", path }, { "outcome", outcome }, { "reason", reason } };
}

QJsonObject Events::entry(const RemoteEntry& entry, const QString& path)
{
    static const char* const kinds[] = { "file", "folder", "link", "other" };
    const QString permissions
        = entry.permissions < 0 ? QString() : QString::number(entry.permissions, PERMISSIONS_BASE);
    return { { "event", "entry" }, { "path", path }, { "kind", kinds[entry.kind] }, { "permissions", permissions },
        { "bytes", entry.size }, { "modified", entry.modified.toString(Qt::ISODate) } };
}

QJsonObject Events::remark(const QString& text)
{
    return { { "event", "remark" }, { "text", text } };
}

QJsonObject Events::step(const QString& name, bool works, const QString& detail, const QString& advice)
{
    return { { "event", "step" }, { "name", name }, { "works", works }, { "detail", detail }, { "advice", advice } };
}

QJsonObject Events::summary(const PublishReport& report)
{
    QJsonArray failed;
    for (const PublishReport::Failure& failure : report.failed) {
        failed.append(QJsonObject { { "path", failure.path }, { "reason", failure.reason } });
    }
    return { { "event", "summary" }, { "success", report.isSuccess() }, { "interrupted", report.wasInterrupted },
        { "stopReason", report.stopReason }, { "sent", report.sent.size() }, { "unchanged", report.unchanged.size() },
        { "removed", report.removed.size() }, { "bytes", report.bytes }, { "failed", failed },
        { "notTried", QJsonArray::fromStringList(report.notTried) },
        { "incomplete", QJsonArray::fromStringList(report.incomplete) } };
}

QString Events::nameOf(FolderPublisher::Outcome outcome)
{
    return QString::fromLatin1(QMetaEnum::fromType<FolderPublisher::Outcome>().valueToKey(outcome)).toLower();
}
