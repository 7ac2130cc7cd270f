#include "LocalScan.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

bool hasControlCharacter(const QByteArray& name)
{
    return std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

} // namespace

const char* const LocalScan::RULES_FILE = ".tavrelignore";

struct LocalScan::Entry
{
    QByteArray name;
    bool isFolder = false;
    bool isFile = false;
    bool isLink = false;
    qint64 size = 0;
};

LocalScan::LocalScan(QByteArray root, const PathFilter& filter, bool hiddenFiles, std::function<bool()> isStopped)
    : mRoot(std::move(root))
    , mFilter(filter)
    , mHiddenFiles(hiddenFiles)
    , mIsStopped(std::move(isStopped))
{
}

bool LocalScan::run(PublishPlan& plan, PublishReport& report)
{
    std::vector<Entry> entries;
    if (!listFolder(QByteArray(), entries)) {
        return false;
    }
    plan.folders.emplace_back();
    // Folders are appended while it runs; each one stands behind its parent.
    for (std::size_t i = 0; i < plan.folders.size() && !mIsStopped(); ++i) {
        readFolder(plan, report, static_cast<int>(i));
    }
    plan.files.shrink_to_fit();
    return true;
}

void LocalScan::readFolder(PublishPlan& plan, PublishReport& report, int folder)
{
    std::vector<Entry> entries;
    const QByteArray path = plan.folders[folder].path;
    if (!listFolder(path, entries)) {
        report.failed.append({ QString::fromUtf8(path), mFault });
        mUnknown << QString::fromUtf8(path);
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    plan.folders[folder].firstFile = static_cast<int>(plan.files.size());
    for (const Entry& entry : entries) {
        if (mIsStopped()) {
            break;
        }
        if (!isWanted(plan.folders[folder], entry) || !accept(plan.folders[folder], entry, report)) {
            continue;
        }
        plan.folders[folder].isEmpty = false;
        if (entry.isFolder) {
            plan.folders.push_back({ path + entry.name + '/', folder });
        } else {
            plan.addFile(entry.name, entry.size, folder);
        }
    }
    plan.folders[folder].fileCount = static_cast<int>(plan.files.size()) - plan.folders[folder].firstFile;
}

bool LocalScan::listFolder(const QByteArray& path, std::vector<Entry>& entries)
{
    std::error_code error;
    fs::directory_iterator entry(fs::u8path((mRoot + path).toStdString()), error);
    for (; !error && entry != fs::directory_iterator() && !mIsStopped(); entry.increment(error)) {
        std::error_code ignored; // the entry is then neither file nor folder
        const bool isFile = entry->is_regular_file(ignored);
        entries.push_back({ QByteArray::fromStdString(entry->path().filename().u8string()),
            entry->is_directory(ignored), isFile, entry->is_symlink(ignored),
            isFile ? qMax(static_cast<qint64>(entry->file_size(ignored)), qint64 { 0 }) : 0 });
    }
    if (error) {
        mFault = QString::fromLocal8Bit(error.message().c_str());
    }
    return !error;
}

bool LocalScan::isWanted(const PlannedFolder& folder, const Entry& entry) const
{
    const bool isOwn = folder.path.isEmpty() && (SiteRecord::isOwnFile(entry.name) || entry.name == RULES_FILE);
    const bool isHidden = entry.name.startsWith('.') && !mHiddenFiles;
    return !isOwn && !isHidden && !mFilter.excludes(QString::fromUtf8(folder.path + entry.name), entry.isFolder);
}

/// Whether an entry can be published; otherwise it is reported.
bool LocalScan::accept(const PlannedFolder& folder, const Entry& entry, PublishReport& report)
{
    const QString path = QString::fromUtf8(folder.path + entry.name);
    if (path.toUtf8() != folder.path + entry.name) {
        report.failed.append({ path, QStringLiteral("its name is not valid UTF-8") });
        return false;
    }
    if (hasControlCharacter(entry.name)) {
        report.failed.append({ path, QStringLiteral("its name has a control character") });
        return false;
    }
    if (entry.isFolder ? !entry.isLink : entry.isFile) {
        return true;
    }
    const char* const kind = entry.isFolder ? "a symbolic link to a folder"
        : entry.isLink                      ? "a symbolic link to nothing"
                                            : "neither a file nor a folder";
    report.remarks << QStringLiteral("%1: left out, %2").arg(path, QString::fromLatin1(kind));
    mUnknown << path << path + QLatin1Char('/');
    return false;
}
