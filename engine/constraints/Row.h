/// \file
/// The plain row: a constraint while nothing is done with it but to hand it from one to another.
#ifndef ESTOC_CONSTRAINTS_ROW_H
#define ESTOC_CONSTRAINTS_ROW_H

#include "estoc/Types.h"

#include <vector>

namespace estoc {

/// sum coefficient * literal >= degree. In normal form the coefficients are positive, no larger
/// than the degree, in falling order, and no variable occurs twice.
template <class C, class D> struct RowOf {
  std::vector<Term<C>> terms;
  D degree = 0;
};
/// As problems state them.
using Row = RowOf<Int128, Int128>;
/// The same with numbers whose magnitudes add up to less than 2^62, as nearly all problems have.
using SmallRow = RowOf<std::int64_t, std::int64_t>;
/// As conflict analysis learns them.
using LearntRow = RowOf<std::int32_t, std::int64_t>;

/// The same row with wide numbers.
inline Row widened(const LearntRow& row) {
  Row wide;
  wide.terms.reserve(row.terms.size());
  for (const auto& t : row.terms) wide.terms.push_back({t.coefficient, t.literal});
  wide.degree = row.degree;
  return wide;
}

} // namespace estoc

#endif
