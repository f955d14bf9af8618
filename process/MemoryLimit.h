/// \file
/// A limit on what a program takes.
#ifndef QUILLON_PROCESS_MEMORY_LIMIT_H
#define QUILLON_PROCESS_MEMORY_LIMIT_H

#include <cstdint>

namespace process {

/// From now on allocations fail that would bring what the process can write to beyond so many
/// megabytes of 2^20 bytes. What a library or a thread merely reserves does not count. A lower
/// limit of the system's stays.
void limitMemory(std::uint64_t megabytes);

} // namespace process

#endif
