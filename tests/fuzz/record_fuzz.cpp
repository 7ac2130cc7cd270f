// Feeds arbitrary bytes, as the record of a site on a server, to its reader.

#include <publish/SiteRecord.h>

#include <QBuffer>
#include <QDir>

#include <cstdlib>

static const auto require = [](bool condition) { condition ? void() : std::abort(); };

static bool readInto(SiteRecord& record, QByteArray text)
{
    QBuffer buffer(&text);
    int ignored = 0;
    return buffer.open(QIODevice::ReadOnly) && record.read(buffer, ignored);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    SiteRecord record;
    readInto(record, SiteRecord::firstLine() + QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    QByteArray written = SiteRecord::firstLine();
    const SiteRecord::Entries& entries = record.entries();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const QString path = QString::fromLatin1(entry.key());
        require(!path.isEmpty() && QDir::cleanPath(path) == path && !path.startsWith('/') && entry->size >= 0);
        require(path != "." && path != ".." && !path.startsWith("../"));
        written += SiteRecord::line(entry.key(), *entry);
    }
    SiteRecord again;
    require(readInto(again, written) && again.entries().keys().size() == entries.size());
    return 0;
}
