/// \file
/// Normal form of rows.
#include "Normalise.h"

#include <algorithm>

namespace estoc {

namespace {

/// Merges repeated variables; afterwards all coefficients are positive.
void merge(Row& row) {
  std::vector<WideTerm>& terms = row.terms;
  for (WideTerm& t : terms) {
    if (t.coefficient >= 0) continue; // -a l is a ~l - a
    row.degree -= t.coefficient;
    t.coefficient = -t.coefficient;
    t.literal = ~t.literal;
  }
  const auto byVariable = [](const WideTerm& a, const WideTerm& b) {
    return a.literal < b.literal;
  };
  if (!std::is_sorted(terms.begin(), terms.end(), byVariable))
    std::sort(terms.begin(), terms.end(), byVariable);
  std::size_t kept = 0;
  for (const WideTerm& t : terms) {
    if (t.coefficient == 0) continue;
    if (kept == 0 || terms[kept - 1].literal.var() != t.literal.var()) {
      terms[kept++] = t;
      continue;
    }
    WideTerm& last = terms[kept - 1];
    if (last.literal == t.literal) {
      last.coefficient += t.coefficient;
      continue;
    }
    const Int128 both = std::min(last.coefficient, t.coefficient);
    row.degree -= both; // a l + a ~l is a
    if (last.coefficient == t.coefficient)
      kept--;
    else if (last.coefficient > t.coefficient)
      last.coefficient -= both;
    else
      last = {t.coefficient - both, t.literal};
  }
  terms.resize(kept);
}

/// Sorts by falling coefficients; equal ones keep their order. Most rows of problems are short, and
/// the library's stable sort takes memory even for these.
void sortByCoefficient(std::vector<WideTerm>& terms) {
  const auto before = [](const WideTerm& a, const WideTerm& b) {
    return a.coefficient > b.coefficient;
  };
  constexpr std::size_t short_row = 24;
  if (terms.size() > short_row) {
    std::stable_sort(terms.begin(), terms.end(), before);
    return;
  }
  for (std::size_t i = 1; i < terms.size(); i++) {
    const WideTerm term = terms[i];
    std::size_t place = i;
    for (; place > 0 && before(term, terms[place - 1]); place--) terms[place] = terms[place - 1];
    terms[place] = term;
  }
}

} // namespace

RowState normalise(Row& row, const Trail& trail, std::vector<Lit>& units, Derivation* derivation) {
  units.clear();
  merge(row);
  std::vector<WideTerm>& terms = row.terms;
  std::size_t kept = 0;
  Int128 sum = 0;
  for (const WideTerm& t : terms) {
    if (trail.isRootAssigned(t.literal.var())) {
      if (trail.isTrue(t.literal)) row.degree -= t.coefficient;
      if (derivation != nullptr) derivation->dropAssigned(t.literal, t.coefficient, trail);
      continue;
    }
    sum += t.coefficient;
    terms[kept++] = t;
  }
  terms.resize(kept);
  if (row.degree <= 0) return RowState::trivial;
  if (sum < row.degree) return RowState::contradiction;
  const Int128 slack = sum - row.degree;
  sortByCoefficient(terms);
  std::size_t implied = 0;
  for (; implied < terms.size() && terms[implied].coefficient > slack; implied++) {
    units.push_back(terms[implied].literal);
    row.degree -= terms[implied].coefficient;
    if (derivation != nullptr) derivation->weakenAway(terms[implied].literal.var());
  }
  terms.erase(terms.begin(), terms.begin() + static_cast<std::ptrdiff_t>(implied));
  if (row.degree <= 0) return RowState::trivial;
  if (derivation != nullptr && terms.front().coefficient > row.degree) derivation->saturate();
  for (WideTerm& t : terms) t.coefficient = std::min(t.coefficient, row.degree);
  divideByCommonDivisor(row, derivation);
  assert(terms.size() >= 2);
  return RowState::row;
}

} // namespace estoc
