/// \file
/// How fuzz targets complain.
#ifndef QUILLON_FUZZ_DEMAND_H
#define QUILLON_FUZZ_DEMAND_H

#include <cstdio>
#include <cstdlib>

/// Unless the condition holds, says what is wrong and ends the run, for the fuzzer to keep the
/// input.
inline void demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

#endif
