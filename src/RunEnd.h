/// \file
/// The ends of a run.
#ifndef QUILLON_RUN_END_H
#define QUILLON_RUN_END_H

#include <cstdio>
#include <cstdlib>

/// Exit codes that carry the verdict.
enum ExitCode : int {
  exit_none = 0,           ///< nothing decided: option error, input error, arithmetic overflow
  exit_satisfiable = 10,   ///< a solution, or the time limit passed
  exit_unsatisfiable = 20, ///< no solution exists
  exit_optimum = 30        ///< an optimal solution
};

/// Ends the process because a sum on problem data would leave the 32-bit signed range. `guard` is
/// the number of the guard that noticed, 1 to 4: construction, watching, objective value,
/// tightening or watching bound.
[[noreturn]] inline void numericOverflow(int guard) {
  std::printf("c sum of numeric constants out of range [%d]\n", guard);
  std::printf("s UNKNOWN\n");
  std::exit(exit_none);
}

#endif
