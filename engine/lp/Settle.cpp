/// \file
/// Makes a learnt constraint of a long sum of rows.
#include "Settle.h"

#include "constraints/SortTerms.h"

#include <algorithm>

namespace estoc {

Standing standingOf(Expression<Summed>& e, const Trail& trail, Derivation* derivation) {
  Int128 slack = 0;
  Int128 largest = 0; // among what is not assigned
  Int128 all = 0;
  for (const Var v : e.variables()) {
    if (!e.occurs(v)) continue;
    const Lit l = e.literal(v);
    const Int128 c = e.magnitude(v);
    if (trail.isRootTrue(l)) {
      e.weaken(v, c);
      continue;
    }
    if (trail.isRootFalse(l)) { // c times the fact that ~l is true
      e.addTerm(~l, c);
      e.addDegree(c);
      if (derivation != nullptr) derivation->dropAssigned(l, c, trail);
      continue;
    }
    all += c;
    if (trail.isFalse(l)) continue;
    slack += c;
    if (!trail.isTrue(l)) largest = std::max(largest, c);
  }
  e.tighten();
  if (all < e.degree()) return Standing::contradiction;
  slack -= e.degree();
  if (slack < 0) return Standing::falsified;
  return largest > slack ? Standing::implying : Standing::open;
}

void shrinkConflict(Expression<Summed>& e, const Trail& trail, int bits) {
  struct Falsified {
    int level;
    Var v;
    Int128 size;
  };
  std::vector<Falsified> falsified;
  Int128 missing = e.degree(); // to the sum of all that is not falsified; at least 1
  for (const Var v : e.variables()) {
    if (!e.occurs(v)) continue;
    if (trail.isFalse(e.literal(v)))
      falsified.push_back({trail.level(v), v, e.magnitude(v)});
    else
      missing -= e.magnitude(v);
  }
  assert(missing >= 1);
  std::sort(falsified.begin(), falsified.end(), [](const Falsified& a, const Falsified& b) {
    return a.level != b.level ? a.level < b.level : a.v < b.v;
  });
  // What has been falsified late is not needed while what came before suffices.
  while (!falsified.empty()) {
    const int level = falsified.back().level;
    Int128 sum = 0;
    for (std::size_t i = falsified.size(); i-- > 0 && falsified[i].level == level;)
      sum += falsified[i].size;
    if (sum >= missing) break;
    missing -= sum;
    while (!falsified.empty() && falsified.back().level == level) falsified.pop_back();
  }
  const int level = falsified.empty() ? 0 : falsified.back().level;
  std::sort(falsified.begin(), falsified.end(), [](const Falsified& a, const Falsified& b) {
    return a.size != b.size ? a.size < b.size : a.v < b.v;
  });
  for (const Falsified& f : falsified) {
    if (f.size >= missing) break;
    missing -= f.size;
    e.weaken(f.v, f.size);
  }
  e.saturate();
  e.divideDown(bits, [&](Lit l) { return trail.isFalse(l) && trail.level(l.var()) <= level; });
}

void shrinkRow(Expression<Summed>& e, int bits) {
  if (e.degree() < 1) return;
  e.saturate();
  e.divideDown(bits, [](Lit) { return false; });
}

bool extractRow(const Expression<Summed>& e, LearntRow& row) {
  row.terms.clear();
  if (e.degree() < 1) return false;
  row.degree = static_cast<std::int64_t>(e.degree());
  for (const Var v : e.variables())
    if (e.occurs(v)) row.terms.push_back({static_cast<std::int32_t>(e.magnitude(v)), e.literal(v)});
  std::sort(row.terms.begin(), row.terms.end(),
            [](const auto& a, const auto& b) { return a.literal < b.literal; });
  std::vector<Term<std::int32_t>> spare;
  sortByCoefficient(row.terms, spare);
  return true;
}

} // namespace estoc
