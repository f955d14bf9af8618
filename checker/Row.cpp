/// \file
/// What a row says as a whole.
#include "Row.h"

namespace checker {

Integer Row::largestSum() const {
  Integer sum;
  for (const Term& t : terms) sum += t.coefficient;
  return sum;
}

Row negation(const Row& row) {
  Row result;
  result.terms.reserve(row.terms.size());
  for (const Term& t : row.terms) result.terms.push_back({t.coefficient, ~t.literal});
  result.degree = row.largestSum() - row.degree + 1;
  return result;
}

} // namespace checker
