/// \file
/// Clause vivification.
#include "Vivification.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr unsigned glue_low = 2;
constexpr unsigned glue_middle = 6;
} // namespace

/// Collects what is to be tried, in the order in which it will be.
void Vivification::gather() {
  candidates.clear();
  sorted.clear();
  occurrences.assign(2 * static_cast<std::size_t>(trail.variables()), 0);
  for (const Ref ref : propagation.learntConstraints()) {
    Header& c = propagation.at(ref);
    if (c.removed != 0 || c.kind != Kind::clause || c.size < 3) continue;
    const Lit* const literals = static_cast<Clause&>(c).literals();
    for (std::uint32_t i = 0; i < c.size; i++) occurrences[literals[i].index()]++;
    bench.charge(c.size);
    if (c.vivified != 0) continue;
    const unsigned tier = c.glue <= glue_low ? 0 : c.glue <= glue_middle ? 1 : 2;
    const auto begin = static_cast<std::uint32_t>(sorted.size());
    sorted.insert(sorted.end(), literals, literals + c.size);
    candidates.push_back({ref, tier, begin, static_cast<std::uint32_t>(sorted.size())});
  }
  const auto frequent = [&](Lit a, Lit b) {
    const std::uint32_t x = occurrences[a.index()];
    const std::uint32_t y = occurrences[b.index()];
    return x != y ? x > y : a < b;
  };
  for (const Candidate& c : candidates)
    std::sort(sorted.begin() + c.begin, sorted.begin() + c.end, frequent);
  std::sort(candidates.begin(), candidates.end(), [&](const Candidate& a, const Candidate& b) {
    if (a.tier != b.tier) return a.tier < b.tier;
    const auto first = sorted.begin();
    const auto [x, y] =
        std::mismatch(first + a.begin, first + a.end, first + b.begin, first + b.end);
    if (x == first + a.end || y == first + b.end)
      return a.end - a.begin != b.end - b.begin ? a.end - a.begin < b.end - b.begin : a.ref < b.ref;
    return frequent(*x, *y);
  });
}

/// Goes back to where the decisions are no longer the first literals of the candidate, in order.
/// What the candidate itself has implied is taken back, too.
void Vivification::reuseDecisions(const Candidate& candidate) {
  int level = 0;
  std::uint32_t next = candidate.begin;
  while (level < trail.level() && next < candidate.end) {
    const Lit decision = trail[trail.start(level + 1)];
    // A literal that an earlier level has made false was passed over.
    while (next < candidate.end && trail.isFalse(sorted[next]) &&
           trail.level(sorted[next].var()) <= level)
      next++;
    if (next == candidate.end || decision != ~sorted[next]) break;
    level++;
    next++;
  }
  const Lit* const watched = static_cast<Clause&>(propagation.at(candidate.ref)).literals();
  for (int i = 0; i < 2; i++)
    if (trail.isTrue(watched[i]) && trail.reason(watched[i].var()) == candidate.ref)
      level = std::min(level, trail.level(watched[i].var()) - 1);
  propagation.backjump(level);
}

/// Puts into `shorter` the negations of the decisions on which it rests that `ref` is falsified or,
/// if there is an `implied`, that it implies that.
void Vivification::decisionsBehind(Ref ref, Lit implied) {
  const int before = implied.isNone() ? trail.size() : trail.position(implied.var());
  bench.walkBack(ref, before, [&](Lit l, int) {
    const bool is_decision = trail.reason(l.var()) == no_ref;
    if (is_decision) shorter.push_back(~l);
    return !is_decision;
  });
}

bool Vivification::vivify(const Candidate& candidate) {
  const Ref ref = candidate.ref;
  bench.count.vivified++;
  propagation.at(ref).vivified = 1;
  reuseDecisions(candidate);
  propagation.ignore(ref);
  shorter.clear();
  bool explained = false;
  for (std::uint32_t i = candidate.begin; i < candidate.end && !explained; i++) {
    const Lit l = sorted[i];
    const signed char value = trail.value(l);
    if (value < 0) {
      if (trail.level(l.var()) > 0 && trail.reason(l.var()) == no_ref) shorter.push_back(l);
      continue;
    }
    if (value > 0) {
      shorter.clear();
      if (trail.level(l.var()) == 0) {
        bench.remove(ref);
        propagation.ignore(no_ref);
        return true;
      }
      shorter.push_back(l);
      decisionsBehind(trail.reason(l.var()), l);
      break;
    }
    propagation.openLevel();
    propagation.enqueue(~l, no_ref);
    shorter.push_back(l);
    const Ref conflict = propagation.propagate();
    if (conflict == no_ref) continue;
    shorter.clear();
    decisionsBehind(conflict, Lit());
    explained = true;
    propagation.backjump(trail.level() - 1); // it is not at a fixpoint
  }
  propagation.ignore(no_ref);
  if (shorter.size() == candidate.end - candidate.begin) return true;
  bench.count.shortened++;
  if (shorter.empty()) return false;
  return bench.replace(ref, shorter);
}

bool Vivification::run() {
  gather();
  for (const Candidate& candidate : candidates) {
    if (bench.isOver()) break;
    if (!vivify(candidate)) return false;
  }
  propagation.backjump(0);
  return true;
}

} // namespace estoc
