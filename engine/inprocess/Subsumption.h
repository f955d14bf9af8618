/// \file
/// Removes clauses that others imply by themselves, and literals that others resolve away.
#ifndef ESTOC_INPROCESS_SUBSUMPTION_H
#define ESTOC_INPROCESS_SUBSUMPTION_H

#include "Workbench.h"

namespace estoc {

/// A clause subsumes another one that has all its literals. If one of them is negated there, that
/// one is resolved away. Clauses are taken from short to long; each is compared with those before,
/// found by one literal of each, the rarest. A clause that nothing new can subsume is passed over.
/// Sources: Zhang, On subsumption removal and on-the-fly CNF simplification (2005); Bayardo and
/// Panda, Fast algorithms for finding extremal sets (2011).
class Subsumption {
 public:
  explicit Subsumption(Workbench& w)
      : bench(w), propagation(w.propagation), trail(w.propagation.assignment()) {}

  /// At level 0, at a fixpoint. Until the bench's budget is spent. False when there is no solution.
  bool run();

 private:
  Workbench& bench;
  Propagation& propagation;
  const Trail& trail;

  struct Candidate {
    Ref ref;
    std::uint32_t size;
  };
  struct Entry {
    Ref ref;
    Lit other;          ///< of a clause of two: the other literal
    std::uint32_t size; ///< of the clause
  };
  std::vector<Candidate> candidates;
  std::vector<CompactList<Entry>> entries; ///< per literal: clauses that are found by it
  std::vector<Lit> marked;
  std::vector<signed char> marks;      ///< per variable: its sign in the clause looked at
  std::vector<unsigned char> is_fresh; ///< per variable: occurs in a new clause

  void gather();
  bool isMarked(Lit l) const {
    return marks[static_cast<std::size_t>(l.var())] == (l.negated() ? -1 : 1);
  }
  enum class Relation { none, subsumes, strengthens };
  Relation compare(const Entry& entry, Lit found_by, Lit& resolved);
  bool process(const Candidate& candidate);
  void enter(const Candidate& candidate);
};

} // namespace estoc

#endif
