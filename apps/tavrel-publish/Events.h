#pragma once

#include <tavrel/FolderPublisher.h>

#include <QJsonObject>

/// The events of a run, printed as they are with --json. The manual describes their fields.
namespace Events {

QJsonObject progress(const PublishProgress& progress);
/// outcome is "sent", "unchanged", "removed", "fetched", "changed" or "failed".
QJsonObject file(const QString& path, const QString& outcome, const QString& reason = QString());
QJsonObject entry(const RemoteEntry& entry, const QString& path);
QJsonObject remark(const QString& text);
QJsonObject step(const QString& name, bool works, const QString& detail, const QString& advice);
/// The numbers of sent, unchanged and removed files, and the rest of the report.
QJsonObject summary(const PublishReport& report);

QString nameOf(FolderPublisher::Outcome outcome);

} // namespace Events
