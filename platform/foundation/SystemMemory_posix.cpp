#include "SystemMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

void SystemMemory::zero(char* bytes, std::size_t size)
{
#ifdef __linux__
    // Elsewhere the advice leaves the content undefined.
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t begin = (page - reinterpret_cast<std::size_t>(bytes) % page) % page;
    const std::size_t end = size - reinterpret_cast<std::size_t>(bytes + size) % page;
    if (size > 2 * page && madvise(bytes + begin, end - begin, MADV_DONTNEED) == 0) {
        std::memset(bytes, 0, begin);
        std::memset(bytes + end, 0, size - end);
        return;
    }
#endif
    std::memset(bytes, 0, size);
}
