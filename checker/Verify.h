/// \file
/// The checker as a function: a problem and a proof in, a verdict out.
#ifndef QUILLON_CHECKER_VERIFY_H
#define QUILLON_CHECKER_VERIFY_H

#include "Integer.h"
#include "Problem.h"

#include <cstdint>
#include <istream>
#include <optional>
#include <string>

namespace checker {

/// What a proof has been found to show of its problem.
struct Verdict {
  enum class Kind {
    refused,       ///< nothing: some step does not hold
    none,          ///< all steps hold, and the proof claims nothing
    satisfiable,   ///< there is a solution
    unsatisfiable, ///< there is none
    bounds         ///< every solution costs at least `lower`, and one costs `upper` at most
  };
  Kind kind = Kind::refused;
  std::optional<Integer> lower; ///< if `bounds`; nothing stands for infinity
  std::optional<Integer> upper;
  /// The problem said "max:". The bounds are of the negated objective, as all numbers in proofs
  /// are; the text is about the objective itself.
  bool maximised = false;
  std::uint64_t line = 0; ///< if refused: where
  std::string reason;     ///< if refused: why

  /// "s VERIFIED ..." or "s NOT VERIFIED ...", without a line end.
  std::string text() const;
};

/// Checks every step of `proof`, which is read once from begin to end, and its conclusion. Memory
/// is taken for the problem and for the constraints that the proof has at the same time. Nothing is
/// thrown on account of the proof but std::bad_alloc.
Verdict verify(Problem problem, std::istream& proof);

} // namespace checker

#endif
