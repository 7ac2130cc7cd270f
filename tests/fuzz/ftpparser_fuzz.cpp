// Feeds arbitrary bytes to the parser of listing lines.

#include <tavrel/ftpparser.h>

#include <cstdlib>
#include <vector>

static const auto require = [](bool condition) { condition ? void() : std::abort(); };

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    std::vector<char> line(data, data + size);
    ftpparser_entry entry;
    if (ftpparser(&entry, line.data(), static_cast<int>(line.size())) == 1) {
        require(entry.name >= line.data() && entry.name_length >= 0);
        require(entry.name + entry.name_length <= line.data() + line.size());
        require(entry.id_kind == ID_UNKNOWN || entry.id + entry.id_length <= line.data() + line.size());
    }
    return 0;
}
