/// \file
/// Raising the lower bound by unsatisfiable cores.
#include "CoreGuided.h"

#include "numbers/Width.h"

#include <algorithm>
#include <optional>

namespace estoc {

void toCardinality(LearntRow& row, Derivation* derivation) {
  const auto weaken = [&](const Term<std::int32_t>& t, std::int32_t amount) {
    if (derivation != nullptr && amount != 0) derivation->weaken(t.literal, amount);
  };
  auto& terms = row.terms;
  std::int64_t sum = 0;
  std::size_t k = 0;
  while (sum < row.degree) {
    assert(k < terms.size());
    sum += terms[k++].coefficient;
  }
  const std::int32_t divisor = terms[k - 1].coefficient;
  for (std::size_t i = 0; i + 1 < k; i++) {
    weaken(terms[i], terms[i].coefficient - divisor);
    row.degree -= terms[i].coefficient - divisor;
    terms[i].coefficient = divisor;
  }
  std::int64_t spare = row.degree - 1 - static_cast<std::int64_t>(k - 1) * divisor;
  assert(spare >= 0);
  while (terms.size() > k && terms.back().coefficient <= spare) {
    if (derivation != nullptr) derivation->weakenAway(terms.back().literal.var());
    spare -= terms.back().coefficient;
    terms.pop_back();
  }
  if (derivation != nullptr) derivation->divide(divisor);
  for (auto& t : terms) t.coefficient = 1;
  row.degree = static_cast<std::int64_t>(k);
}

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
  counter.variables.push_back(y.var());
  Row enough; // y: at least r of the literals
  Row few;    // ~y: fewer than r of them
  for (const Lit l : counter.literals) {
    enough.terms.push_back({1, l});
    few.terms.push_back({1, ~l});
  }
  enough.terms.push_back({static_cast<Int128>(r), ~y});
  enough.degree = static_cast<Int128>(r);
  const std::size_t false_ones = n - r + 1;
  few.terms.push_back({static_cast<Int128>(false_ones), y});
  few.degree = static_cast<Int128>(false_ones);
  ProofId enough_id = 0;
  ProofId few_id = 0;
  if (Proof* const proof = search.proof()) {
    // All that the proof says of y: at first it is for nothing, then for all that it can be for.
    enough_id = proof->redundant(enough, {~y});
    counter.sum.terms.push_back({1, ~y});
    counter.sum.degree++;
    const ProofId sum_id = proof->redundant(counter.sum, {~y});
    few_id = proof->redundant(few, {y});
    proof->remove(parts[counter.part].id);
    parts[counter.part].id = sum_id;
  }
  setWeight(y, counter.weight);
  counter_of[static_cast<std::size_t>(y.var())] = static_cast<std::int32_t>(index);
  return search.addRow(std::move(enough), false, enough_id) &&
         search.addRow(std::move(few), false, few_id);
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

bool CoreGuided::refine(const LearntRow& core, ProofId id) {
  LearntRow row = core;
  std::optional<Derivation> derivation;
  if (Proof* const proof = search.proof()) {
    derivation.emplace(*proof);
    derivation->add(id, 1);
  }
  toCardinality(row, derivation ? &*derivation : nullptr);
  ProofId row_id = 0;
  ProofId part_id = 0; // a copy, since the row itself goes when the search does not need it
  if (derivation) {
    row_id = derivation->finish();
    derivation->add(row_id, 1);
    part_id = derivation->finish();
    search.proof()->remove(id);
  }
  const bool solvable = search.addRow(widened(row), false, row_id);
  Int128 least = weights[row.terms[0].literal.index()];
  for (const auto& t : row.terms) least = std::min(least, weights[t.literal.index()]);
  assert(least > 0);
  lower += least * row.degree;
  if (derivation) parts.push_back({part_id, least});
  if (!solvable) return false;
  for (const auto& t : row.terms)
    if (!spend(t.literal, least)) return false;
  if (row.degree < static_cast<std::int64_t>(row.terms.size())) {
    Counter counter;
    for (const auto& t : row.terms) counter.literals.push_back(t.literal);
    counter.weight = least;
    counter.reached = static_cast<std::size_t>(row.degree);
    counter.part = parts.empty() ? 0 : parts.size() - 1;
    if (derivation) counter.sum = row;
    counters.push_back(std::move(counter));
    if (!extend(counters.size() - 1)) return false;
  }
  active.erase(
      std::remove_if(active.begin(), active.end(), [&](Lit l) { return weights[l.index()] == 0; }),
      active.end());
  return true;
}

bool CoreGuided::harden(Int128 upper, ProofId upper_id) {
  std::vector<Lit> heavy;
  for (const Lit l : active)
    if (lower + weights[l.index()] >= upper && !search.isFact(~l)) heavy.push_back(l);
  if (heavy.empty()) return true;
  ProofId sum_id = 0;
  if (Proof* const proof = search.proof()) {
    Derivation derivation(*proof);
    derivation.add(upper_id, 1);
    deriveBound(derivation);
    sum_id = derivation.finish(); // sum of weight * literal <= upper - 1 - lower
  }
  for (const Lit l : heavy)
    if (!search.addFact(~l)) return false;
  if (search.proof() != nullptr) search.proof()->remove(sum_id);
  return true;
}

void CoreGuided::deriveBound(Derivation& derivation) const {
  for (const Part& part : parts) derivation.add(part.id, part.weight);
}

void CoreGuided::complete(std::vector<bool>& values) const {
  values.resize(static_cast<std::size_t>(search.variables()));
  for (const Counter& counter : counters) { // its literals are the problem's, or of counters before
    std::size_t count = 0;
    for (const Lit l : counter.literals)
      if (values[static_cast<std::size_t>(l.var())] != l.negated()) count++;
    std::size_t needed = counter.reached - counter.variables.size();
    for (const Var v : counter.variables) values[static_cast<std::size_t>(v)] = count >= ++needed;
  }
}

} // namespace estoc
