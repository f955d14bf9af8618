/// \file
/// A cost that the search tries to reach, as something to be assumed.
#ifndef ESTOC_OPTIMISE_TARGET_H
#define ESTOC_OPTIMISE_TARGET_H

#include "Objective.h"
#include "search/Search.h"

#include <vector>

namespace estoc {

/// A literal that stands for "the cost is at most so much". Assumed, it lets the relaxation cut off
/// all that leads to more; what is learnt under it holds for ever, since the literal is part of it.
/// When it is refuted, no solution costs that little, which is how the lower bound rises in steps;
/// when it is not, there is a solution that is nearly as good as can be. The trees below a low
/// target are small ones, where depth first under the best solution so far may get lost. One target
/// is looked at at a time. Source: destructive lower bounds (Klein and Scholl, Computing lower
/// bounds by destructive improvement, 1999).
class Target {
 public:
  Target(Search& s, const Objective& o) : search(s), objective(o) {}

  /// Whether targets can be stated at all: sums of twice the largest cost must be safe.
  bool isPossible() const;
  /// States a cost of at most `most`, which is less than the largest one, instead of what was
  /// stated before. Goes back to level 0.
  void state(Int128 most);
  /// Nothing is stated any more. Goes back to level 0 if there was.
  void drop();
  /// The stated cost cannot be reached: constraint `core` of the proof, if one is written, says so.
  /// False when there is no solution.
  bool refute(ProofId core);

  bool isStated() const { return !literal_now.isNone(); }
  Int128 most() const { return most_now; }
  /// To be assumed.
  Lit literal() const { return literal_now; }
  /// In the proof: ~literal(), or the cost is at most `most()`.
  ProofId id() const { return few_id; }
  /// What no cost is below, as the last refutation shows; 0 at first.
  Int128 lowerCost() const { return lower; }
  /// Adds to the derivation: cost >= lowerCost(), which is not 0.
  void deriveBound(Derivation& derivation) const { derivation.add(lower_id, 1); }
  /// Gives the literals the values that belong to a solution of this cost.
  void complete(std::vector<bool>& values, Int128 cost) const;

 private:
  Search& search;
  const Objective& objective;
  Lit literal_now;
  Int128 most_now = 0;
  ProofId few_id = 0;
  ProofId many_id = 0; ///< in the proof: literal, or the cost is more
  Int128 lower = 0;
  ProofId lower_id = 0;
  struct Stated {
    Lit literal;
    Int128 most;
  };
  std::vector<Stated> all;
};

} // namespace estoc

#endif
