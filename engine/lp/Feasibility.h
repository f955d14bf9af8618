/// \file
/// Problems without an objective: search and branching by the relaxation take turns.
#ifndef ESTOC_LP_FEASIBILITY_H
#define ESTOC_LP_FEASIBILITY_H

#include "Branching.h"

#include <cstdint>
#include <memory>

namespace estoc {

/// Looks for any solution. Half of the work goes into branching by the relaxation, unless there is
/// none, or it cannot say anything.
class Feasibility {
 public:
  /// `variables` are those of the problem so far.
  Feasibility(const Options& o, Search& s, Var variables);
  /// Literals fixed, and rows dropped, before the search.
  std::uint64_t presolved() const { return presolved_count; }
  std::uint64_t dropped() const { return dropped_count; }
  /// Until there is a model, it is clear that there is none, or somebody interrupts.
  Outcome run();
  /// Null while there is no relaxation.
  const Relaxer* relaxation() const { return relaxer.get(); }

 private:
  void presolve(Var variables);
  const Options& options;
  Search& search;
  std::unique_ptr<Relaxer> relaxer;
  std::unique_ptr<Branching> branching;
  std::uint64_t presolved_count = 0;
  std::uint64_t dropped_count = 0;
  std::uint64_t searched = 0; ///< work of the conflict-driven slices
  std::uint64_t branched = 0; ///< of the others
};

} // namespace estoc

#endif
