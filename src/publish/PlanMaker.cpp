#include "PlanMaker.h"

#include "LocalScan.h"
#include "UploadSource.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int HASH_BLOCK_BYTES = 256 * 1024;

/// Equal for names that a server may take for one file, whatever letters and normalization it tells apart.
QString spellingOf(const QString& path)
{
    return path.normalized(QString::NormalizationForm_C).toCaseFolded();
}

bool isHidden(const QString& path)
{
    return path.startsWith(QLatin1Char('.')) || path.contains(QLatin1String("/."));
}

} // namespace

PlanMaker::PlanMaker(
    QByteArray root, const PublishOptions& options, PublishReport& report, std::function<bool()> isStopped)
    : mRoot(std::move(root))
    , mOptions(options)
    , mReport(report)
    , mIsStopped(std::move(isStopped))
    , mBlock(HASH_BLOCK_BYTES, '\0')
{
}

bool PlanMaker::fail(PublishSession& session, FTPFailure::Kind kind)
{
    if (kind != FTPFailure::Interrupted) {
        mFault = FTPFailure::reasonOf(session.client());
    }
    return false;
}

void PlanMaker::fail(PlannedFile& file, const QString& path, const QString& reason)
{
    file.state = PlannedFile::Failed;
    mReport.failed.append({ path, reason });
}

/// The settings count after the file in the folder. They were checked when they were set.
bool PlanMaker::readFilter()
{
    const QString name = QString::fromLatin1(LocalScan::RULES_FILE);
    const QByteArray path = mRoot + LocalScan::RULES_FILE;
    UploadSource file(path);
    QByteArray rules;
    bool isRead = file.open(QIODevice::ReadOnly);
    if (isRead) {
        rules = file.readAll();
        isRead = file.bytesRead() == file.size();
    } else {
        std::error_code ignored; // a folder that cannot be read is another failure
        isRead = fs::symlink_status(fs::u8path(path.toStdString()), ignored).type() == fs::file_type::not_found;
    }
    if (!isRead) {
        mFault = QStringLiteral("%1: %2").arg(name, file.errorString());
        return false;
    }
    for (const QString& glob : mFilter.addLines(QString::fromUtf8(rules))) {
        mReport.remarks << QStringLiteral("%1: not a valid glob: %2").arg(name, glob);
    }
    for (const QString& glob : mOptions.excluded) {
        mFilter.add(glob);
    }
    return true;
}

bool PlanMaker::readFolder(PublishPlan& plan)
{
    if (!readFilter()) {
        return false;
    }
    LocalScan scan(mRoot, mFilter, mOptions.hiddenFiles, mIsStopped);
    if (!scan.run(plan, mReport)) {
        mFault = QStringLiteral("%1: %2").arg(QString::fromUtf8(mRoot), scan.fault());
        return false;
    }
    mUnknown = scan.unknown();
    return !mIsStopped();
}

bool PlanMaker::readRecord(PublishSession& session, RecordDownload& record, PublishPlan& plan)
{
    const FTPFailure::Kind kind = session.requestPatiently([&] { return session.fetch(record); });
    if (kind != FTPFailure::None) {
        // Without its marks, a file that the record holds could be left truncated and count as unchanged.
        return fail(session, kind);
    }
    QString remark;
    if (!record.read(plan.others, remark)) {
        mFault = remark;
        return false;
    }
    if (!remark.isEmpty()) {
        mReport.remarks << remark;
    }
    mRecordPlace = record.place();
    mIsRecordOutdated = !remark.isEmpty() || plan.others.isWordy() || mRecordPlace.isAside();
    return true;
}

bool PlanMaker::compare(PublishPlan& plan)
{
    for (PlannedFile& file : plan.files) {
        if (mIsStopped()) {
            return false;
        }
        compareFile(plan, file);
    }
    for (const PlannedFile& file : plan.files) {
        if (file.recordedSize >= 0) {
            presume(plan, file.folder);
        }
    }
    if (mRecordPlace.isInPlace || mRecordPlace.isAside()) {
        presume(plan, 0);
    }
    return true;
}

void PlanMaker::compareFile(PublishPlan& plan, PlannedFile& file)
{
    const QByteArray path = plan.bytePath(file);
    const auto entry = plan.others.take(path);
    if (!entry) {
        return;
    }
    file.recordedSize = entry->size;
    file.digest = entry->digest;
    const bool isCandidate = mOptions.onlyChanged && entry->isWhole && entry->size == file.size;
    if (isCandidate && matches(file, QString::fromUtf8(path))) {
        file.state = PlannedFile::Unchanged;
    }
    if (file.state == PlannedFile::Failed) {
        // The server still has the file of the record.
        file.recordedSize = -1;
        plan.others.entries().insert(path, *entry);
    }
}

/// Whether the file has the digest of the record.
bool PlanMaker::matches(PlannedFile& file, const QString& path)
{
    UploadSource source(mRoot + path.toUtf8());
    if (!source.open(QIODevice::ReadOnly)) {
        fail(file, path, source.errorString());
        return false;
    }
    while (!mIsStopped() && source.read(mBlock.data(), mBlock.size()) > 0) { }
    return source.bytesRead() == file.size && source.digest() == file.digest;
}

/// A folder of a file in the record exists, and so do those above it.
void PlanMaker::presume(PublishPlan& plan, int folder)
{
    while (folder >= 0 && !plan.folders[folder].isPresumed) {
        plan.folders[folder].isPresumed = true;
        folder = plan.folders[folder].parent;
    }
}

/// A folder that has vanished may have done so with those above it.
void PlanMaker::doubt(PublishPlan& plan, int folder)
{
    plan.folders[folder].isPresumed = false;
    for (int above = plan.folders[folder].parent; above > 0; above = plan.folders[above].parent) {
        plan.folders[above].isPresumed = false;
    }
}

bool PlanMaker::checkServer(PublishSession& session, PublishPlan& plan)
{
    for (const PlannedFolder& folder : plan.folders) {
        const auto begin = plan.files.begin() + folder.firstFile;
        const auto end = begin + folder.fileCount;
        if (std::none_of(begin, end, [](const PlannedFile& file) { return file.state == PlannedFile::Unchanged; })) {
            continue;
        }
        ServerFolders folders(
            session.client()); // one listing at a time: all listings of a large site would fill the memory
        const ServerFolders::Folder* listed = nullptr;
        FTPFailure::Kind kind = session.requestPatiently(
            [&] { return (listed = folders.list(QString::fromUtf8(folder.path))) != nullptr; });
        // Without a listing, each file is looked at by itself.
        kind = kind == FTPFailure::OfPath ? FTPFailure::None : kind;
        if (listed && listed->isMissing) {
            doubt(plan, begin->folder);
        }
        for (auto file = begin; file != end && kind == FTPFailure::None; ++file) {
            kind = checkFile(session, plan, *file, listed ? listed->entries : ServerFolders::Entries());
        }
        if (kind != FTPFailure::None) {
            return fail(session, kind);
        }
    }
    return true;
}

FTPFailure::Kind PlanMaker::checkFile(
    PublishSession& session, PublishPlan& plan, PlannedFile& file, const ServerFolders::Entries& entries)
{
    const QString path = plan.path(file);
    const RemoteEntry entry = entries.value(QString::fromUtf8(plan.name(file)));
    const bool isAsRecorded = entry.kind == RemoteEntry::File && entry.size == file.size;
    if (file.state != PlannedFile::Unchanged || isAsRecorded) {
        return FTPFailure::None;
    }
    if (entry.kind == RemoteEntry::Link) {
        fail(file, path, QStringLiteral("a symbolic link is in its place on the server"));
        return FTPFailure::None;
    }
    // The listing may leave it out, or not understand its line. Some servers do not tell sizes.
    qint64 size = -1;
    FTPFailure::Kind kind = session.requestPatiently([&] {
        const bool isTold = ServerFolders::sizeOf(session.client(), path, size);
        return isTold || session.client().error() == ErrorableCode::of(CURLE_PARTIAL_FILE);
    });
    kind = kind == FTPFailure::OfPath ? FTPFailure::None : kind;
    if (kind == FTPFailure::None && size != file.size) {
        file.state = PlannedFile::ToSend;
        const QString fault = size < 0 ? QStringLiteral("is missing") : QStringLiteral("has %1 bytes").arg(size);
        mReport.remarks << QStringLiteral("%1: %2 on the server, sent again").arg(path, fault);
    }
    return kind;
}

bool PlanMaker::findObsolete(PublishSession& session, PublishPlan& plan)
{
    ServerFolders folders(session.client());
    QList<QByteArray> paths = plan.others.entries().keys();
    std::sort(paths.begin(), paths.end());
    const QSet<QString> spellings = plannedSpellings(plan, paths);
    for (const QByteArray& path : paths) {
        if (mIsStopped()) {
            return false;
        }
        const QString name = QString::fromUtf8(path);
        if (!isKnownToBeGone(name)) {
            continue;
        }
        if (spellings.contains(spellingOf(name))) {
            mReport.remarks
                << QStringLiteral("%1: not removed, a file of the folder differs from it only in spelling").arg(name);
            forget(plan, path);
            continue;
        }
        const FTPFailure::Kind kind = examine(session, folders, plan, path);
        if (kind != FTPFailure::None) {
            return fail(session, kind);
        }
    }
    return true;
}

/// Those of given paths that planned files have.
QSet<QString> PlanMaker::plannedSpellings(const PublishPlan& plan, const QList<QByteArray>& paths)
{
    QSet<QString> wanted;
    for (const QByteArray& path : paths) {
        wanted.insert(spellingOf(QString::fromUtf8(path)));
    }
    QSet<QString> planned;
    for (const PlannedFile& file : plan.files) {
        const QString spelling = wanted.isEmpty() ? QString() : spellingOf(plan.path(file));
        if (wanted.contains(spelling)) {
            planned.insert(spelling);
        }
    }
    return planned;
}

void PlanMaker::forget(PublishPlan& plan, const QByteArray& path)
{
    plan.others.take(path);
    mIsRecordOutdated = true;
}

/// Whether the folder was read where the file was, and it is not there. An excluded path is left alone.
bool PlanMaker::isKnownToBeGone(const QString& path) const
{
    const bool isUnknown = std::any_of(mUnknown.begin(), mUnknown.end(), [&path](const QString& unknown) {
        return unknown.isEmpty() || path == unknown || (unknown.endsWith(QLatin1Char('/')) && path.startsWith(unknown));
    });
    return !isUnknown && !mFilter.excludesWithParents(path) && (mOptions.hiddenFiles || !isHidden(path));
}

/// Plans the removal of a file that is still as it was sent. Otherwise the record forgets it.
FTPFailure::Kind PlanMaker::examine(
    PublishSession& session, ServerFolders& folders, PublishPlan& plan, const QByteArray& path)
{
    const QString name = QString::fromUtf8(path);
    std::optional<RemoteEntry> entry;
    const FTPFailure::Kind kind = session.requestPatiently([&] { return folders.find(name, entry); });
    if (kind == FTPFailure::OfPath) {
        entry.emplace().kind = RemoteEntry::Other; // The server does not tell.
    } else if (kind != FTPFailure::None) {
        return kind;
    }
    SiteRecord::Entry& recorded = plan.others.entries()[path];
    if (entry && entry->kind == RemoteEntry::File && entry->size == recorded.size) {
        recorded.isWhole = false;
        plan.obsolete.push_back({ path });
        return FTPFailure::None;
    }
    if (entry && entry->kind == RemoteEntry::Other && (entry->size < 0 || entry->size == recorded.size)) {
        mReport.remarks << QStringLiteral("%1: not removed, the server does not list it as a file").arg(name);
        return FTPFailure::None; // A later run tries again.
    }
    if (entry) {
        mReport.remarks << QStringLiteral("%1: not removed, it is not the file that was sent").arg(name);
    }
    forget(plan, path);
    return FTPFailure::None;
}
