/// \file
/// Wide coefficients and repeated variables.
#include "Terms.h"

#include <limits>
#include <new>

namespace formats {

void Terms::setWide(PackedTerm& term, Int coefficient) {
  if (term.is_wide == 0) {
    if (wide.size() > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    term.coefficient = static_cast<std::int32_t>(wide.size());
    term.is_wide = 1;
    wide.push(coefficient);
  }
  wide[static_cast<std::size_t>(term.coefficient)] = coefficient;
}

bool FormBuilder::merge(std::size_t index, Int coefficient, Int lowest, Int highest) {
  Int sum = (*store)[index].coefficient;
  if (!addTo(sum, coefficient) || sum < lowest || sum > highest) return false;
  store->setCoefficient(index, sum);
  return true;
}

void FormBuilder::abandon() {
  passTerms(); // what was remembered of these terms is now of an earlier form
  store->truncate(first);
}

void FormBuilder::forget() {
  for (std::size_t v = 0; v < latest.size(); v++) latest[v] = 0;
  before = 0;
}

} // namespace formats
