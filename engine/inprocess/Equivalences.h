/// \file
/// Finds literals that imply each other, and puts one for all into clauses.
#ifndef ESTOC_INPROCESS_EQUIVALENCES_H
#define ESTOC_INPROCESS_EQUIVALENCES_H

#include "Workbench.h"

namespace estoc {

/// Clauses of two literals are implications; literals on a circle of these have the same value. In
/// all longer clauses the first literal of the circle takes the place of the others; the clauses of
/// two stay, so the others keep their values. Sources: Tarjan, Depth-first search and linear graph
/// algorithms (1972); Van Gelder and Tsuji, Satisfiability testing with more reasoning and less
/// guessing (1996).
class Equivalences {
 public:
  explicit Equivalences(Workbench& w)
      : bench(w), propagation(w.propagation), trail(w.propagation.assignment()) {}

  /// At level 0, at a fixpoint. Linear in the clauses. False when there is no solution.
  bool run();

 private:
  Workbench& bench;
  Propagation& propagation;
  const Trail& trail;
  std::size_t known = 0; ///< literals that had another representative the last time

  static constexpr std::uint32_t closed = ~std::uint32_t{0};
  struct Visit {
    Lit literal;
    std::uint32_t next; ///< the watch to look at next
  };
  std::vector<Lit> representative;    ///< per literal
  std::vector<std::uint32_t> reached; ///< per literal: when, `closed` when its component is known
  std::vector<Lit> component;
  std::vector<Visit> path;

  bool visit(Lit root, std::uint32_t& time);
  bool substitute();
};

} // namespace estoc

#endif
