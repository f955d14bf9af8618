/// \file
/// What only quillon's outputs state: the objective of an optimum, in a comment line and shifted.
#ifndef QUILLON_FORMATS_QUILLON_OUTPUT_H
#define QUILLON_FORMATS_QUILLON_OUTPUT_H

#include "Check.h"

#include <string_view>
#include <vector>

namespace formats {

/// An output of quillon's or of any solver that `readSolverOutput` can read.
struct QuillonOutput : SolverOutput {
  /// The numbers of all lines "c optimum objective found = N", as `reportedObjective` has them.
  std::vector<Int> reported;
};

/// Reads `text` as `readSolverOutput` does. Refused is also such a comment line without a plain
/// number that fits an Int.
Result<QuillonOutput> readQuillonOutput(std::string_view text);

/// The number quillon prints for an objective whose form comes to `value`: with N the sum of the
/// negative coefficients, `value` - N; but -`value` when minimising without a positive
/// coefficient. The constant plays no part, since our own format has none.
Int reportedObjective(const Objective& objective, Int value);

/// `checkOutput`, and each reported number must be the one for the objective that the values give.
/// With soft rows that is the number for the objective of `linearise`, and may be larger when no
/// optimum is claimed.
Report checkQuillonOutput(const Problem& problem, const QuillonOutput& output,
                          const NameMap& map = {});

} // namespace formats

#endif
