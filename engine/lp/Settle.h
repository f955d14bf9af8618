/// \file
/// Makes a learnt constraint of a long sum of rows, as far as it says something under the trail.
#ifndef ESTOC_LP_SETTLE_H
#define ESTOC_LP_SETTLE_H

#include "LinearProgram.h"
#include "constraints/Row.h"
#include "expression/Expression.h"
#include "propagation/Trail.h"

#include <vector>

namespace estoc {

/// What a sum of rows says.
enum class Standing {
  contradiction, ///< nothing satisfies it
  falsified,     ///< nothing under the trail does
  implying,      ///< it implies something under the trail
  open
};

/// Takes what is assigned at level 0 out of `e`, and tells what `e` says under the trail. Written
/// to `derivation` unless that is null.
Standing standingOf(Expression<Summed>& e, const Trail& trail, Derivation* derivation);

/// Brings `e`, falsified under the trail, down to coefficients of at most `bits` bits, such that it
/// stays falsified, and at the lowest level where it is. Falsified literals that it can do without
/// are weakened away, the lightest first: most of these are there by rounding only.
void shrinkConflict(Expression<Summed>& e, const Trail& trail, int bits);

/// The same for a row that is not falsified; it may lose strength.
void shrinkRow(Expression<Summed>& e, int bits);

/// `e` as a row in normal form; false when it says nothing.
bool extractRow(const Expression<Summed>& e, LearntRow& row);

} // namespace estoc

#endif
