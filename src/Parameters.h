/// \file
/// The numbers that steer a search. Every one of them decides what is searched and in which order.
#ifndef QUILLON_PARAMETERS_H
#define QUILLON_PARAMETERS_H

#include "Global.h"

namespace quillon {

/// A pseudo-Boolean constraint that grows past one of these while it is being learnt is given up.
namespace learning_bounds {
constexpr int64 merged_degree = 10000;      ///< when a reason has been added, before it cancels
constexpr int64 merged_coefficient = 10000; ///< when a term of a reason has been added
constexpr int64 scaled_degree = 1000;       ///< after a scaling pass; bounds the coefficients, too
} // namespace learning_bounds

/// Activities grow with each use, and by an increment that grows, so that the others fade.
namespace activity_rules {
constexpr double var_decay = 0.95;
constexpr double clause_decay = 0.999; ///< of learnt clauses and learnt pseudo-Boolean constraints
constexpr double var_limit = 1e100;    ///< beyond it all are rescaled
constexpr double var_rescale = 1e-100;
constexpr float constr_limit = 1e20F;
constexpr double constr_rescale = 1e-20;
} // namespace activity_rules

/// The limits of the first search, and their growth with every one that ends undecided.
namespace search_budgets {
constexpr double first_conflicts = 100;
constexpr double conflict_growth = 1.5;
constexpr double learnt_growth = 1.1;     ///< of both kinds of learnt constraint
constexpr int constraints_per_learnt = 3; ///< for each of as many there is a learnt clause at first
constexpr double first_pb_learnts = 50;
constexpr double random_decisions = 0.02; ///< share of the decisions taken at random
} // namespace search_budgets

} // namespace quillon

#endif
