/// \file
/// Raising the lower bound by unsatisfiable cores.
#include "CoreGuided.h"

#include "numbers/Width.h"

#include <algorithm>

namespace estoc {

namespace {

/// Turns a row in normal form into "at least k of these", with k as large as the row gives: fewer
/// than k of its literals cannot reach the degree. Then coefficients are cut to the k-th
/// (weakening), light literals that the degree can spare are left out (weakening), and division by
/// the k-th coefficient does the rest.
void toCardinality(LearntRow& row) {
  auto& terms = row.terms;
  std::int64_t sum = 0;
  std::size_t k = 0;
  while (sum < row.degree) {
    assert(k < terms.size());
    sum += terms[k++].coefficient;
  }
  const std::int32_t divisor = terms[k - 1].coefficient;
  for (std::size_t i = 0; i + 1 < k; i++) {
    row.degree -= terms[i].coefficient - divisor;
    terms[i].coefficient = divisor;
  }
  std::int64_t spare = row.degree - 1 - static_cast<std::int64_t>(k - 1) * divisor;
  assert(spare >= 0);
  while (terms.size() > k && terms.back().coefficient <= spare) {
    spare -= terms.back().coefficient;
    terms.pop_back();
  }
  for (auto& t : terms) t.coefficient = 1;
  row.degree = static_cast<std::int64_t>(k);
}

} // namespace

CoreGuided::CoreGuided(Search& s, const Objective& objective) : search(s) {
  for (const WideTerm& t : objective.terms) {
    setWeight(t.literal, t.coefficient);
    threshold = std::max(threshold, t.coefficient);
  }
}

void CoreGuided::setWeight(Lit l, Int128 weight) {
  const std::size_t needed = 2 * static_cast<std::size_t>(l.var()) + 2;
  if (weights.size() < needed) {
    weights.resize(needed);
    counter_of.resize(needed / 2, -1);
  }
  weights[l.index()] = weight;
  active.push_back(l);
}

std::vector<Lit> CoreGuided::assumptions() const {
  std::vector<Lit> heavy;
  for (const Lit l : active)
    if (weights[l.index()] >= threshold) heavy.push_back(l);
  std::stable_sort(heavy.begin(), heavy.end(),
                   [&](Lit a, Lit b) { return weights[a.index()] > weights[b.index()]; });
  for (Lit& l : heavy) l = ~l;
  return heavy;
}

bool CoreGuided::lowerThreshold() {
  Int128 largest = 0; // the largest weight below half of the threshold, or else below it
  Int128 fallback = 0;
  for (const Lit l : active) {
    const Int128 w = weights[l.index()];
    if (w < threshold) fallback = std::max(fallback, w);
    if (w < threshold - w) largest = std::max(largest, w);
  }
  if (fallback == 0) return false;
  threshold = largest > 0 ? largest : fallback;
  return true;
}

/// Adds the counter's next variable, if there is one.
bool CoreGuided::extend(std::size_t index) {
  Counter& counter = counters[index];
  const std::size_t n = counter.literals.size();
  if (counter.reached == n) return true;
  const std::size_t r = ++counter.reached;
  const Lit y = Lit::of(search.addVariable(false));
  Row enough; // y: at least r of the literals
  Row few;    // ~y: fewer than r of them
  for (const Lit l : counter.literals) {
    enough.terms.push_back({1, l});
    few.terms.push_back({1, ~l});
  }
  enough.terms.push_back({static_cast<Int128>(r), ~y});
  enough.degree = static_cast<Int128>(r);
  few.terms.push_back({static_cast<Int128>(n - r + 1), y});
  few.degree = static_cast<Int128>(n - r + 1);
  setWeight(y, counter.weight);
  counter_of[static_cast<std::size_t>(y.var())] = static_cast<std::int32_t>(index);
  return search.addRow(std::move(enough)) && search.addRow(std::move(few));
}

/// Takes `amount` from the weight of l. The first time that the newest variable of a counter is
/// paid for, the next one takes its place.
bool CoreGuided::spend(Lit l, Int128 amount) {
  weights[l.index()] -= amount;
  assert(weights[l.index()] >= 0);
  std::int32_t& counter = counter_of[static_cast<std::size_t>(l.var())];
  if (counter < 0) return true;
  const auto index = static_cast<std::size_t>(counter);
  counter = -1;
  return extend(index);
}

bool CoreGuided::refine(const LearntRow& core) {
  LearntRow row = core;
  toCardinality(row);
  Row wide;
  for (const auto& t : row.terms) wide.terms.push_back({t.coefficient, t.literal});
  wide.degree = row.degree;
  if (!search.addRow(std::move(wide))) return false;
  Int128 least = weights[row.terms[0].literal.index()];
  for (const auto& t : row.terms) least = std::min(least, weights[t.literal.index()]);
  assert(least > 0);
  lower += least * row.degree;
  for (const auto& t : row.terms)
    if (!spend(t.literal, least)) return false;
  if (row.degree < static_cast<std::int64_t>(row.terms.size())) {
    Counter counter;
    for (const auto& t : row.terms) counter.literals.push_back(t.literal);
    counter.weight = least;
    counter.reached = static_cast<std::size_t>(row.degree);
    counters.push_back(std::move(counter));
    if (!extend(counters.size() - 1)) return false;
  }
  active.erase(
      std::remove_if(active.begin(), active.end(), [&](Lit l) { return weights[l.index()] == 0; }),
      active.end());
  return true;
}

bool CoreGuided::harden(Int128 upper) {
  for (const Lit l : active)
    if (lower + weights[l.index()] >= upper && !search.isFact(~l) && !search.addRow({{{1, ~l}}, 1}))
      return false;
  return true;
}

} // namespace estoc
