/// \file
/// Finds sets of literals of which at most one is true, and says so in one row.
#ifndef ESTOC_INPROCESS_AT_MOST_ONES_H
#define ESTOC_INPROCESS_AT_MOST_ONES_H

#include "Workbench.h"

namespace estoc {

/// A clause of two literals says that the negations of these are not both true: an edge of a graph.
/// A clique of it is an at-most-one, which is stronger than its edges for cutting planes, and takes
/// less room. Cliques are grown from an edge that is in none yet, each time by the literal with the
/// most neighbours that fits. Source: Biere, Le Berre, Lonca and Manthey, Detecting cardinality
/// constraints in CNF (2014).
class AtMostOnes {
 public:
  /// Cliques of fewer than `least` literals, which is 3 at least, stay clauses.
  AtMostOnes(Workbench& w, std::size_t least)
      : bench(w), propagation(w.propagation), trail(w.propagation.assignment()), smallest(least) {}

  /// At level 0, at a fixpoint. Each clique takes the place of its edges. Looks at the literals
  /// until the bench's budget is spent.
  void run();

 private:
  Workbench& bench;
  Propagation& propagation;
  const Trail& trail;
  const std::size_t smallest;
  std::size_t left = 0; ///< edges after the last time

  struct Edge {
    Lit other;
    Ref ref;
  };
  std::vector<std::vector<Edge>> edges; ///< per literal: with what it cannot be true
  std::size_t count = 0;                ///< edges in no clique
  std::vector<std::uint32_t> common;    ///< per literal: members of the clique that are neighbours
  std::vector<Lit> clique;

  void gather();
  ProofId derive();
  void grow(Lit first);
  void put();
};

} // namespace estoc

#endif
