/// \file
/// Fixes variables for which another value, or another variable, does as well at no more cost.
#ifndef ESTOC_PRESOLVE_COLUMNS_H
#define ESTOC_PRESOLVE_COLUMNS_H

#include "localsearch/FlatProblem.h"
#include "search/Search.h"

#include <memory>
#include <vector>

namespace estoc {

/// Keeps an optimal solution, but not all solutions: for problems with an objective to which no row
/// comes any more.
///
/// - Dual fixing: a literal that costs nothing to make false, and that no row wants true, is false.
/// - Dominated columns: a literal p is false if, wherever it is true, making it false and another
///   literal q true instead breaks no row and costs no more. That is so when no row loses more by p
///   than it gains by q, q costs at most what p costs, and either q alone satisfies all rows that p
///   is good for, or p and q occur alike and are never both true.
///
/// In the proof each fixed literal is a redundant unit row, with the exchange as its witness. What
/// is fixed is such that unit propagation shows the obligations; without a proof it is the same.
///
/// Sources: Achterberg, Bixby, Gu, Rothberg and Weninger, Presolve reductions in mixed integer
/// programming (2020); Beasley, An algorithm for set covering problem (1987).
class Columns {
 public:
  /// `cost_terms` has positive weights and no variable twice. All are literals of the first
  /// `variables` variables of `s`, which are all there are.
  Columns(Search& s, const std::vector<WideTerm>& cost_terms, Var variables);

  /// Fixes what it can, within a budget of work. Goes to level 0. False when there is no solution.
  bool run();

  std::uint64_t fixed() const { return fixed_count; }

 private:
  using Occurrence = FlatProblem::Occurrence;
  Search& search;
  const std::vector<WideTerm>& cost_terms;
  const Var variables;
  std::unique_ptr<FlatProblem> problem;
  std::vector<std::int64_t> degrees; ///< per row: what it demands still
  std::vector<std::int64_t> sums;    ///< per row: what can be had still
  std::vector<std::int64_t>
      gains; ///< per row: what it gains by the literal looked at; 0 in between
  std::uint64_t visits = 0;
  std::uint64_t fixed_count = 0;

  bool take();
  bool isOpen(Lit l) const { return !search.constraints().assignment().isAssigned(l.var()); }
  std::int64_t gainIn(const Occurrence& o, Lit l) const;
  std::int64_t costOf(Lit l) const;
  std::uint64_t pass();
  void tryToFix(Lit p);
  enum class Exchange {
    none,
    replace, ///< p becomes false and the other one true
    swap     ///< each takes the value of the other one
  };
  Exchange compare(Lit q, Lit p, std::size_t wanting, std::size_t losing);
  void makeFalse(Lit p, Lit other, bool swap);
};

} // namespace estoc

#endif
