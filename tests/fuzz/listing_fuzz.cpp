// Feeds arbitrary bytes, as a server's answer to LIST or MLSD, to the readers of listings.

#include <ftp/DetailedListing.h>
#include <ftp/ListingReader.h>

#include <QDir>

#include <cstdlib>

static const auto require = [](bool condition) { condition ? void() : std::abort(); };

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray listing(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QString directory = QStringLiteral("/./www");
    for (const auto reading : { ListingReader::Reading::Lenient, ListingReader::Reading::Strict }) {
        ListingReader reader(listing, directory, false, reading);
        ListingEntry entry;
        int entries = 0;
        while (reader.hasNextLine()) {
            if (!reader.readLine(entry)) {
                continue;
            }
            ++entries;
            const QString name = entry.path.mid(directory.size() + 1);
            require(entry.path.startsWith(directory + '/') && !name.isEmpty() && !name.contains('\n'));
            require(QDir::cleanPath(name) != "." && QDir::cleanPath(name) != ".." && QDir::cleanPath(name) != "/");
            require(!entry.isDir || entry.path.endsWith('/'));
            require(!(entry.isLink && entry.isDir)); // the server is asked later what a link points to
        }
        require(entries <= listing.count('\n') + 1);
    }
    for (const auto format : { DetailedListing::Format::Lines, DetailedListing::Format::Facts }) {
        DetailedListing detailed(listing, format, directory + '/');
        RemoteEntry found;
        while (detailed.hasNextLine()) {
            if (detailed.readLine(found)) {
                require(found.path.startsWith(directory + '/') && found.size >= -1);
                require(!found.name.isEmpty() && !found.name.contains('/') && found.name != "." && found.name != "..");
            }
        }
    }
    return 0;
}
