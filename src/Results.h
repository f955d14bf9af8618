/// \file
/// The lines that state the result of a run.
#ifndef QUILLON_RESULTS_H
#define QUILLON_RESULTS_H

#include <cstdint>

#include "BlockPool.h"
#include "Solver.h"
#include "Verdict.h"

/// The names of the variables as the input spells them, by solver variable.
class NameVec {
  quillon::BlockPool pool;
  vec<char*> names;

 public:
  NameVec() = default;
  NameVec(const NameVec&) = delete;
  NameVec& operator=(const NameVec&) = delete;
  ~NameVec();
  void push(const char* name);
  void reserve(int nvars) { names.reserve(nvars); }
  int size() const { return names.size(); }
  const char* operator[](int i) const { return names[i]; }
  /// The memory it takes.
  size_t bytes() const;
};

/// The size of the problem.
void printSizes(const Solver& S);

/// The objective value of the solver's last solution, which is optimal, as the search reports it.
void printOptimum(const Solver& S);

/// The value line: the solver's last solution. None for a problem without variables.
void printModel(const Solver& S, const NameVec& names);

/// Seconds of processor time between two clock readings, as the total time line reports them. The
/// difference is taken as a 32-bit signed number of ticks, so it wraps after 2147 s.
inline double reportedSeconds(int64 from, int64 to) {
  return static_cast<double>(static_cast<std::int32_t>(to - from)) / 1e6;
}

void printTotalTime(double seconds);

#endif
