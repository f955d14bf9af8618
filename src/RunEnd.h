/// \file
/// The ends of a run.
#ifndef QUILLON_RUN_END_H
#define QUILLON_RUN_END_H

#include <cstdio>
#include <cstdlib>

#include "Verdict.h"

namespace quillon {

/// Exit codes that carry the verdict.
enum ExitCode : int {
  exit_none = 0,           ///< nothing decided: option error, input error, arithmetic overflow
  exit_satisfiable = 10,   ///< a solution, or the time limit passed
  exit_unsatisfiable = 20, ///< no solution exists
  exit_optimum = 30        ///< an optimal solution
};

/// Where the sums on problem data are guarded, with the number that the message gives.
enum class OverflowGuard : int {
  construction = 1,    ///< coefficients, degree and the objective's largest and smallest value
  watching = 2,        ///< the sum of the watched coefficients
  objective_value = 3, ///< the value of a solution
  bound = 4            ///< a degree and a coefficient; a degree that demands a better solution
};

/// Ends the process because a sum on problem data would leave the 32-bit signed range.
[[noreturn]] inline void numericOverflow(OverflowGuard guard) {
  std::printf("c sum of numeric constants out of range [%d]\n", static_cast<int>(guard));
  printVerdict(Verdict::unknown);
  std::exit(exit_none);
}

} // namespace quillon

#endif
