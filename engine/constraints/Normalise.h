/// \file
/// Normal form of rows, with what is known at level 0 taken into account.
#ifndef ESTOC_CONSTRAINTS_NORMALISE_H
#define ESTOC_CONSTRAINTS_NORMALISE_H

#include "Row.h"
#include "numbers/Width.h"
#include "proof/Derivation.h"
#include "propagation/Trail.h"

#include <vector>

namespace estoc {

enum class RowState {
  trivial,       ///< always holds
  contradiction, ///< never holds
  row            ///< in normal form, at least two terms
};

/// Merges repeated variables, drops those assigned at level 0, makes coefficients positive, cuts
/// them at the degree, divides by their common divisor and sorts them. Literals that the row alone
/// implies are moved into `units`. All magnitudes of the row add up to less than 2^127, those of a
/// small row to less than 2^62. Takes O(n log n) time. `derivation`, if not null, has derived the
/// row as it comes in, and then as it goes out if that is `RowState::row`.
template <class N>
RowState normalise(RowOf<N, N>& row, const Trail& trail, std::vector<Lit>& units,
                   Derivation* derivation);

/// Divides a row of positive coefficients by their greatest common divisor, which is returned (0 if
/// there are none); the degree is rounded up. `derivation`, if not null, has derived the row.
template <class C, class D> C divideByCommonDivisor(RowOf<C, D>& row, Derivation* derivation) {
  C divisor = 0;
  for (const auto& t : row.terms) {
    divisor = greatestCommonDivisor(divisor, t.coefficient);
    if (divisor == 1) return divisor;
  }
  if (divisor == 0) return divisor;
  for (auto& t : row.terms) t.coefficient /= divisor;
  row.degree = ceilDiv(row.degree, D{divisor});
  if (derivation != nullptr) derivation->divide(divisor);
  return divisor;
}

} // namespace estoc

#endif
