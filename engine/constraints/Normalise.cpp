/// \file
/// Normal form of rows.
#include "Normalise.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace estoc {

namespace {

/// Sorts; equal terms keep their order. Most rows of problems are short, and for these the places
/// are counted rather than searched for: which of two terms comes first is for a processor to guess
/// otherwise, and a wrong guess takes longer than all comparisons of one term.
template <class N, class Before> void sortTerms(std::vector<Term<N>>& terms, Before before) {
  if (std::is_sorted(terms.begin(), terms.end(), before)) return;
  constexpr std::size_t short_row = 20;
  const std::size_t size = terms.size();
  if (size > short_row) {
    std::stable_sort(terms.begin(), terms.end(), before);
    return;
  }
  std::array<Term<N>, short_row> old;
  std::array<std::uint32_t, short_row> place; // how many terms come before
  for (std::size_t i = 0; i < size; i++) {
    old[i] = terms[i];
    std::uint32_t behind = 0;
    for (std::size_t j = 0; j < i; j++) {
      const std::uint32_t is_first = before(old[i], old[j]) ? 1 : 0;
      place[j] += is_first;
      behind += is_first;
    }
    place[i] = static_cast<std::uint32_t>(i) - behind;
  }
  for (std::size_t i = 0; i < size; i++) terms[place[i]] = old[i];
}

/// Merges repeated variables; afterwards all coefficients are positive.
template <class N> void merge(RowOf<N, N>& row) {
  std::vector<Term<N>>& terms = row.terms;
  for (Term<N>& t : terms) {
    if (t.coefficient >= 0) continue; // -a l is a ~l - a
    row.degree -= t.coefficient;
    t.coefficient = -t.coefficient;
    t.literal = ~t.literal;
  }
  const auto byVariable = [](const Term<N>& a, const Term<N>& b) { return a.literal < b.literal; };
  if (!std::is_sorted(terms.begin(), terms.end(), byVariable))
    std::sort(terms.begin(), terms.end(), byVariable);
  std::size_t kept = 0;
  for (const Term<N>& t : terms) {
    if (t.coefficient == 0) continue;
    if (kept == 0 || terms[kept - 1].literal.var() != t.literal.var()) {
      terms[kept++] = t;
      continue;
    }
    Term<N>& last = terms[kept - 1];
    if (last.literal == t.literal) {
      last.coefficient += t.coefficient;
      continue;
    }
    const N both = std::min(last.coefficient, t.coefficient);
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

} // namespace

template <class N>
RowState normalise(RowOf<N, N>& row, const Trail& trail, std::vector<Lit>& units,
                   Derivation* derivation) {
  units.clear();
  merge(row);
  std::vector<Term<N>>& terms = row.terms;
  std::size_t kept = 0;
  N sum = 0;
  for (const Term<N>& t : terms) {
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
  const N slack = sum - row.degree;
  sortTerms(terms,
            [](const Term<N>& a, const Term<N>& b) { return a.coefficient > b.coefficient; });
  std::size_t implied = 0;
  for (; implied < terms.size() && terms[implied].coefficient > slack; implied++) {
    units.push_back(terms[implied].literal);
    row.degree -= terms[implied].coefficient;
    if (derivation != nullptr) derivation->weakenAway(terms[implied].literal.var());
  }
  terms.erase(terms.begin(), terms.begin() + static_cast<std::ptrdiff_t>(implied));
  if (row.degree <= 0) return RowState::trivial;
  if (derivation != nullptr && terms.front().coefficient > row.degree) derivation->saturate();
  for (Term<N>& t : terms) t.coefficient = std::min(t.coefficient, row.degree);
  divideByCommonDivisor(row, derivation);
  assert(terms.size() >= 2);
  return RowState::row;
}
template RowState normalise(Row& row, const Trail& trail, std::vector<Lit>& units,
                            Derivation* derivation);
template RowState normalise(SmallRow& row, const Trail& trail, std::vector<Lit>& units,
                            Derivation* derivation);

} // namespace estoc
