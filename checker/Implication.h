/// \file
/// Ways of seeing that a constraint follows from others, other than deriving it.
#ifndef QUILLON_CHECKER_IMPLICATION_H
#define QUILLON_CHECKER_IMPLICATION_H

#include "Propagator.h"

#include <vector>

namespace checker {

/// Decides whether one row implies another by their letters alone, see `implies`.
class Implication {
  std::vector<const Integer*> wanted; ///< by literal: the coefficient in the conclusion, or null

 public:
  /// Whether `premise` implies `conclusion` for all assignments in which the true and false
  /// literals of `given` (if not null) are so. Take an assignment that falsifies the conclusion,
  /// which has terms d l and degree D: the literals with d >= D are false in it, and the others
  /// come to less than D. Then the premise's terms a l come to less than D + sum of max(0, a - d)
  /// over those others (d is 0 for literals that the conclusion does not have). If that is at most
  /// the premise's degree, it is falsified, too. What is given counts as removed from both.
  bool implies(const Row& premise, const Row& conclusion, const Propagator* given = nullptr);
};

/// Reverse unit propagation over a few rows and nothing else: whether they contradict each other.
/// They are gone through in their order, again and again, until nothing is new.
class SmallPropagation {
  std::vector<std::int8_t> values; ///< by literal: 1 true, -1 false, 0 neither

 public:
  bool contradicts(const std::vector<const Row*>& rows);
};

} // namespace checker

#endif
