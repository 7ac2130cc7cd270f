#include "SystemMemory.h"

#include <cstring>

void SystemMemory::zero(char* bytes, std::size_t size)
{
    std::memset(bytes, 0, size);
}
