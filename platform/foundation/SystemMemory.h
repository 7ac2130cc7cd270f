#pragma once

#include <cstddef>

namespace SystemMemory {

/// Makes bytes zero. Where the system can do it, whole pages are only promised: they take memory when they are written.
void zero(char* bytes, std::size_t size);

} // namespace SystemMemory
