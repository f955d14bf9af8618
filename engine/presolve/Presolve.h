/// \file
/// What is made simpler before the search: in which order, and for how long.
#ifndef ESTOC_PRESOLVE_PRESOLVE_H
#define ESTOC_PRESOLVE_PRESOLVE_H

#include "Cliques.h"
#include "Columns.h"
#include "Rows.h"
#include "search/Search.h"

#include <vector>

namespace estoc {

/// Rows first, and cliques of them, since columns are compared by the rows they are in; then
/// columns, for problems with an objective; then what single literals lead to. Again while that
/// fixes something.
class Presolve {
 public:
  /// `cost_terms` are those of the objective, null without one; see `Columns`.
  Presolve(const Options& o, Search& s, const std::vector<WideTerm>* cost_terms, Var variables);

  /// Once, before anything is learnt. Goes to level 0. False when there is no solution.
  bool run();

  /// Literals fixed, and rows dropped since others imply them.
  std::uint64_t fixed() const;
  std::uint64_t dropped() const {
    return rows.counters().dropped + rows.counters().split + cliques.dropped();
  }

 private:
  const Options& options;
  Search& search;
  Rows rows;
  Cliques cliques;
  Columns columns;
  const bool has_cost;
  std::uint64_t failed = 0; ///< literals
  std::uint64_t probing_budget;
  static const std::vector<WideTerm> no_cost;

  bool round();
  bool probe();
};

} // namespace estoc

#endif
