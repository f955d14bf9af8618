/// \file
/// Implication by one row, and by propagation over a few.
#include "Implication.h"

#include <algorithm>

namespace checker {

bool Implication::implies(const Row& premise, const Row& conclusion, const Propagator* given) {
  const auto valueOf = [given](Lit l) { return given == nullptr ? 0 : given->value(l); };
  Integer degree = conclusion.degree;
  for (const Term& t : conclusion.terms)
    if (valueOf(t.literal) > 0) degree -= t.coefficient;
  if (degree.sign() <= 0) return true;

  for (const Term& t : conclusion.terms) {
    if (t.literal.index() >= wanted.size()) wanted.resize(2 * t.literal.index() + 1);
    wanted[t.literal.index()] = &t.coefficient;
  }
  // Twice at once: what the premise must have left, and whether it has more than it can reach.
  Integer left = premise.degree - degree;
  Integer beyond = premise.degree;
  for (const Term& t : premise.terms) {
    const int value = valueOf(t.literal);
    if (value < 0) continue;
    beyond -= t.coefficient;
    const Integer* const there =
        t.literal.index() < wanted.size() ? wanted[t.literal.index()] : nullptr;
    if (value > 0 || there == nullptr)
      left -= t.coefficient;
    else if (*there < degree && *there < t.coefficient)
      left -= t.coefficient - *there;
  }
  for (const Term& t : conclusion.terms) wanted[t.literal.index()] = nullptr;
  return left.sign() >= 0 || beyond.sign() > 0;
}

bool SmallPropagation::contradicts(const std::vector<const Row*>& rows) {
  std::vector<Lit> trail;
  bool conflict = false;
  for (bool changed = true; changed && !conflict;) {
    changed = false;
    for (const Row* const row : rows) {
      Integer slack = -row->degree;
      for (const Term& t : row->terms) {
        if ((t.literal.index() | 1) >= values.size())
          values.resize(2 * (t.literal.index() | 1) + 2);
        if (values[t.literal.index()] >= 0) slack += t.coefficient;
      }
      if (slack.sign() < 0) {
        conflict = true;
        break;
      }
      for (const Term& t : row->terms) {
        if (values[t.literal.index()] != 0 || t.coefficient <= slack) continue;
        values[t.literal.index()] = 1;
        values[(~t.literal).index()] = -1;
        trail.push_back(t.literal);
        changed = true;
      }
    }
  }
  for (const Lit l : trail) values[l.index()] = values[(~l).index()] = 0;
  return conflict;
}

} // namespace checker
