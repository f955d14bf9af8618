/// \file
/// A limit on what a program takes.
#include "MemoryLimit.h"

#include <sys/resource.h>

#include <algorithm>

namespace process {

void limitMemory(std::uint64_t megabytes) {
  rlimit limit = {};
  getrlimit(RLIMIT_DATA, &limit);
  limit.rlim_cur = std::min<rlim_t>(megabytes << 20U, limit.rlim_max);
  setrlimit(RLIMIT_DATA, &limit);
}

} // namespace process
