/// \file
/// The verdict line.
#ifndef QUILLON_VERDICT_H
#define QUILLON_VERDICT_H

#include <cstdio>

namespace quillon {

enum class Verdict { satisfiable, unsatisfiable, optimum, unknown };

inline void printVerdict(Verdict verdict) {
  switch (verdict) {
  case Verdict::satisfiable:
    std::printf("s SATISFIABLE\n");
    break;
  case Verdict::unsatisfiable:
    std::printf("s UNSATISFIABLE\n");
    break;
  case Verdict::optimum:
    std::printf("s OPTIMUM FOUND\n");
    break;
  case Verdict::unknown:
    std::printf("s UNKNOWN\n");
    break;
  }
}

} // namespace quillon

#endif
