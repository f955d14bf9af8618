/// \file
/// Makes learnt clauses shorter by trying what their literals imply.
#ifndef ESTOC_INPROCESS_VIVIFICATION_H
#define ESTOC_INPROCESS_VIVIFICATION_H

#include "Workbench.h"

namespace estoc {

/// The literals of a clause are assumed false one after the other. Those that become false by
/// themselves are superfluous; when one becomes true, or a conflict arises, the decisions behind
/// that are a clause of their own. Frequent literals come first, and clauses that begin alike
/// follow each other, so that most of what has been propagated for one serves the next. Sources:
/// Piette, Hamadi and Saïs, Vivifying propositional clausal formulae (2008); Li, Xiao, Luo, Manyà
/// and Lü, Clause vivification by unit propagation in CDCL SAT solvers (2020).
class Vivification {
 public:
  explicit Vivification(Workbench& w)
      : bench(w), propagation(w.propagation), trail(w.propagation.assignment()) {}

  /// At level 0, at a fixpoint. Tries learnt clauses that have not been tried yet, those of low
  /// glue first, until the bench's budget is spent. False when there is no solution.
  bool run();

 private:
  Workbench& bench;
  Propagation& propagation;
  const Trail& trail;

  struct Candidate {
    Ref ref;
    unsigned tier;
    std::uint32_t begin; ///< its literals in `sorted`
    std::uint32_t end;
  };
  std::vector<Candidate> candidates;
  std::vector<Lit> sorted;
  std::vector<std::uint32_t> occurrences; ///< per literal
  std::vector<Lit> shorter;

  void gather();
  bool vivify(const Candidate& candidate);
  void reuseDecisions(const Candidate& candidate);
  void decisionsBehind(Ref ref, Lit implied);
};

} // namespace estoc

#endif
