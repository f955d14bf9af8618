/// \file
/// Finds literals that cannot be true by assuming them.
#ifndef ESTOC_INPROCESS_PROBING_H
#define ESTOC_INPROCESS_PROBING_H

#include "Workbench.h"

namespace estoc {

/// Failed literals: one that leads to a conflict when it alone is assumed is false, and so is the
/// last one on the way that alone leads there. Only literals are tried that imply something by a
/// clause of two and that no such clause implies: what a literal in the middle of a chain shows,
/// its beginning shows, too; the first time, before there is anything learnt, all are tried, since
/// rows imply much that clauses of two do not. Source: Lynce and Marques-Silva, Probing-based
/// preprocessing techniques for propositional satisfiability (2003).
class Probing {
 public:
  explicit Probing(Workbench& w)
      : bench(w), propagation(w.propagation), trail(w.propagation.assignment()) {}

  /// At level 0, at a fixpoint. Goes on with the literals where it stopped the last time, until the
  /// bench's budget is spent or nothing is new. `all`: not only those that imply something by a
  /// clause of two. False when there is no solution.
  bool run(bool all = false);

 private:
  Workbench& bench;
  Propagation& propagation;
  const Trail& trail;
  std::vector<std::int32_t> tried; ///< per literal: facts + 1 when it was last tried in vain
  std::uint32_t next = 0;          ///< the index of the literal to look at next

  bool isRoot(Lit l) const;
  bool probe(Lit l);
  Lit bottleneck(Ref conflict);
};

} // namespace estoc

#endif
