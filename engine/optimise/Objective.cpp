/// \file
/// The objective in normal form.
#include "Objective.h"

#include "numbers/Width.h"

#include <algorithm>

namespace estoc {

Objective::Objective(std::vector<WideTerm> all, Int128 constant) : offset(constant) {
  // For each variable, what its literal adds when it is true.
  for (WideTerm& t : all) {
    if (!t.literal.negated()) continue; // a ~x is a - a x
    offset += t.coefficient;
    t.coefficient = -t.coefficient;
    t.literal = ~t.literal;
  }
  std::sort(all.begin(), all.end(),
            [](const WideTerm& a, const WideTerm& b) { return a.literal < b.literal; });
  for (const WideTerm& t : all) {
    if (!terms.empty() && terms.back().literal == t.literal)
      terms.back().coefficient += t.coefficient;
    else
      terms.push_back(t);
  }
  terms.erase(std::remove_if(terms.begin(), terms.end(),
                             [](const WideTerm& t) { return t.coefficient == 0; }),
              terms.end());
  Int128 divisor = 0;
  for (WideTerm& t : terms) {
    if (t.coefficient < 0) {
      offset += t.coefficient;
      t.coefficient = -t.coefficient;
      t.literal = ~t.literal;
    }
    if (divisor != 1) divisor = greatestCommonDivisor(divisor, t.coefficient);
  }
  if (divisor > 1) {
    scale = divisor;
    for (WideTerm& t : terms) t.coefficient /= divisor;
  }
  std::stable_sort(terms.begin(), terms.end(), [](const WideTerm& a, const WideTerm& b) {
    return a.coefficient > b.coefficient;
  });
}

Int128 Objective::largestCost() const {
  Int128 sum = 0;
  for (const WideTerm& t : terms) sum += t.coefficient;
  return sum;
}

Int128 Objective::cost(const std::vector<bool>& values) const {
  Int128 sum = 0;
  for (const WideTerm& t : terms)
    if (values[static_cast<std::size_t>(t.literal.var())] != t.literal.negated())
      sum += t.coefficient;
  return sum;
}

Row Objective::atMost(Int128 most) const {
  Row row;
  row.terms = terms;
  for (WideTerm& t : row.terms) t.literal = ~t.literal;
  row.degree = largestCost() - most;
  return row;
}

} // namespace estoc
