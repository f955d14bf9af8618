/// \file
/// Random small problems of several kinds, for every engine.
#ifndef QUILLON_TESTS_GENERATORS_H
#define QUILLON_TESTS_GENERATORS_H

#include <limits>

#include "Draws.h"
#include "PlainProblem.h"

namespace plain {

/// The largest number that an engine takes, as coefficient, bound or degree.
constexpr Int limit_of_32_bits = std::numeric_limits<std::int32_t>::max();

/// A form of up to `max_terms` + 1 terms with coefficients up to `bound`, of both signs unless
/// `one_sign`; a few are zero, and variables occur repeatedly.
Form someForm(Draws& draws, const Problem& problem, int max_terms, Int bound, bool one_sign);

/// Anything goes: all relations, mixed signs, zero and repeated terms.
void addMixedRows(Draws& draws, Problem& problem);

/// Coefficients that use most of the numbers up to `limit`. Their absolute values, summed up, stay
/// within it, so that no sum can leave it.
void addHugeRows(Draws& draws, Problem& problem, Int limit);

/// Tight cardinality structure, which propagates late and makes an engine learn: a matrix of
/// variables with a demand per line and a capacity per column (pigeons and holes, more or less),
/// and some weighted rows across. Sets the number of variables, up to 16.
void addMatrixRows(Draws& draws, Problem& problem);

/// Weighted rows whose bounds lie near the middle of their range, over shared variables. Sets the
/// number of variables, up to 16.
void addKnapsackRows(Draws& draws, Problem& problem);

/// Equalities with wide coefficients, over all variables (G. Cornuejols and M. Dawande, A Class of
/// Hard Small 0-1 Programs, 1998): searched long enough for restarts and reductions. Sets the
/// number of variables, up to 16.
void addMarketSplit(Draws& draws, Problem& problem);

/// Mostly clauses: short ones in about the number that makes them hard, groups of which at most one
/// may be true, covers, and perhaps a few weighted rows. Sets the number of variables, up to 16.
void addClauseRows(Draws& draws, Problem& problem);

/// Rows of any one of these kinds, without an objective.
Problem someProblem(Draws& draws, Int limit = limit_of_32_bits);

/// An objective with coefficients up to 30, to be minimised or maximised.
void addObjective(Draws& draws, Problem& problem);

} // namespace plain

#endif
