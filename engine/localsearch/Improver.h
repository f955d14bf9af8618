/// \file
/// Local search at the service of the search: which rows, from where, for how long.
#ifndef ESTOC_LOCALSEARCH_IMPROVER_H
#define ESTOC_LOCALSEARCH_IMPROVER_H

#include "LocalSearch.h"
#include "search/Search.h"

#include <memory>
#include <optional>
#include <vector>

namespace estoc {

/// Looks for solutions better than the best one by local search, in slices. It knows the rows and
/// facts that the search has at level 0 over the problem's variables; those of counters are not
/// part of it. A solution that it returns has been checked against all of these.
///
/// Budgets are visits of terms. A slice goes on while it finds better solutions. What local search
/// may spend, of the whole work, grows when it finds some and shrinks when it does not.
class Improver {
 public:
  /// `cost_terms` (positive weights, no variable twice) may be empty; they and `s` outlive it.
  Improver(const Options& o, Search& s, const std::vector<WideTerm>& cost_terms, Var variables);

  /// Whether a slice is due when all others have done so much work.
  bool isDue(std::uint64_t work) const;
  /// Begins a slice at `at`, an entry for each variable of the problem, or where the last one ended
  /// if there is none; what is known at level 0 goes before. `has_solution`: somebody has found
  /// one. False when there is nothing to search.
  bool begin(std::vector<bool> at, bool has_solution);
  /// Walks on to a solution of a cost below `below` (any if null), which is `solution` then; false
  /// when the slice is over.
  bool next(const std::optional<Int128>& below);
  const std::vector<bool>& solution() const { return values; }
  /// The values that the search would try.
  std::vector<bool> phases() const;

  std::uint64_t flips() const { return flips_before + (walk ? walk->flips() : 0); }
  std::uint64_t slices() const { return slice_count; }

 private:
  const Options& options;
  Search& search;
  const std::vector<WideTerm>& cost_terms;
  const Var variables;
  std::unique_ptr<FlatProblem> problem;
  std::unique_ptr<LocalSearch> walk;
  std::vector<bool> values;    ///< of the last solution
  int built_facts = 0;         ///< facts when the rows were taken
  bool hopeless = false;       ///< too large, or no assignment could do
  std::uint64_t patience = 0;  ///< what this slice may spend without a better solution
  std::uint64_t slice_end = 0; ///< what the walk may have spent when it is over
  bool found_some = false;     ///< in this slice
  bool is_solved = false;      ///< there is a solution, by whomever
  int share; ///< local search may spend 2^-share visits for a unit of the search's work
  std::uint64_t work_before = 0; ///< of walks that have gone
  std::uint64_t flips_before = 0;
  std::uint64_t slice_count = 0;

  std::uint64_t spent() const { return work_before + (walk ? walk->work() : 0); }
  bool isOwn(Ref ref) const;
  bool build();
  std::uint64_t patienceNow() const;
  bool holds() const;
};

} // namespace estoc

#endif
