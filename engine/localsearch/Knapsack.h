/// \file
/// Good solutions of problems with a single row.
#ifndef ESTOC_LOCALSEARCH_KNAPSACK_H
#define ESTOC_LOCALSEARCH_KNAPSACK_H

#include "FlatProblem.h"

#include <cstdint>
#include <vector>

namespace estoc {

/// A solution of `problem`, which has one row and a cost: an entry for each variable; those for
/// which `fixed` holds stay as they are in `start`. Often an optimal one. Empty when there is none.
/// Takes O(n log n) time and, beyond that, about `budget` steps; `work` is raised by what it took.
///
/// What may be left false is a knapsack: leaving a literal false spares its cost and takes its
/// coefficient from what the row can spare. In the order of cost per coefficient, the last ones
/// that fit end at the break. From there outwards, alternating between both sides, the list
/// of the partial solutions that are worth going on with is extended by leaving each item as it is
/// or not. Those that are dominated or cannot beat the best solution any more go, and, when there
/// are too many, the least promising ones.
///
/// Source: Pisinger, A minimal algorithm for the 0-1 knapsack problem (1997).
std::vector<bool> solveKnapsack(const FlatProblem& problem, const std::vector<bool>& start,
                                const std::vector<bool>& fixed, std::uint64_t budget,
                                std::uint64_t& work);

} // namespace estoc

#endif
