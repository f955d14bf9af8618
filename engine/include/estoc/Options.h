/// \file
/// The settings of a solver. The values here are what measurement has shown to be best on average.
#ifndef ESTOC_OPTIONS_H
#define ESTOC_OPTIONS_H

#include <cstdint>

namespace estoc {

class Search;

/// Where a search stands when it calls `Options::audit`.
enum class AuditPoint {
  fixpoint, ///< all is propagated, and nothing is in conflict
  conflict, ///< propagation has ended with a conflict
  learnt,   ///< something has been learnt, and has implied what it can
  reduced   ///< learnt constraints have been dropped
};

/// Switches and numbers; a value-initialised object is what the program uses by default. Verdicts
/// do not depend on any of them, only the way there does.
struct Options {
  std::uint64_t seed = 0;      ///< other than 0: ties of the decision order break another way
  bool stable_mode = true;     ///< use the heap of activities in part of the search
  bool focused_mode = true;    ///< use the queue in part of the search
  bool rephase = true;         ///< return to the best or first phases now and then
  bool solution_phases = true; ///< in part of the search, prefer values of the best solution
  bool weaken_fully = true;    ///< reasons lose literals that rounding would only keep in part
  bool weaken_learnt = true;   ///< learnt rows lose what does not matter where they are learnt
  bool minimise = true;        ///< minimise learnt clauses
  bool probing = true;         ///< fix failed literals and merge equivalent ones
  bool vivification = true;    ///< shorten learnt clauses by propagation
  bool subsumption = true;     ///< remove clauses and literals by comparing clauses
  bool at_most_ones = true;    ///< make cardinalities of clauses of two literals
  bool core_guided = true;     ///< raise the lower bound by cores in part of the search
  bool presolve = true;        ///< make the problem simpler at first
  bool row_comparison = true;  ///< in presolve, drop rows that others imply
  bool row_splitting = true;   ///< in presolve, make clauses of rows that say the same
  bool local_search = true;    ///< look for better solutions by local search now and then
  bool lp = true;              ///< solve the linear relaxation
  bool lazy_rows = true;       ///< show the relaxation only rows that matter, where they are many
  bool cuts = true;            ///< cut the optimum of the relaxation off before branching
  bool neighbourhoods = true;  ///< search around the best solution now and then
  bool targets = true;         ///< branch below costs that are raised step by step
  int smallest_width = 0;      ///< 0 to 3: derive with at least 32, 64, 128 bits, without bound
  /// For tests: what happens every so many conflicts happens this many times as often, so that
  /// small problems see it, too.
  std::uint64_t pace = 1;
  /// For tests: looks the whole search over. Called in builds with assertions only.
  void (*audit)(const Search& search, AuditPoint point) = nullptr;

  /// An interval of `conflicts`, at that pace.
  std::uint64_t paced(std::uint64_t conflicts) const {
    return conflicts > pace ? conflicts / pace : 1;
  }
};

} // namespace estoc

#endif
