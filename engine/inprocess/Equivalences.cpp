/// \file
/// Equivalent literals by strongly connected components.
#include "Equivalences.h"

#include <algorithm>

namespace estoc {

/// Finds the components that `root` reaches. False if a literal and its negation are in one. The
/// literal with the smallest index represents a component; the components of the negations are the
/// negations of the components, and get the negated representative.
bool Equivalences::visit(Lit root, std::uint32_t& time) {
  std::vector<std::uint32_t> least;
  path.push_back({root, 0});
  reached[root.index()] = ++time;
  component.push_back(root);
  least.push_back(time);
  while (!path.empty()) {
    Visit& top = path.back();
    const auto& list = propagation.clauseWatches(~top.literal);
    bool deeper = false;
    while (!deeper && top.next < list.size()) {
      const ClauseWatch watch = list[top.next++];
      bench.charge(1);
      if (!watch.binary() || trail.isAssigned(watch.blocker.var())) continue;
      const std::uint32_t when = reached[watch.blocker.index()];
      if (when == 0) {
        reached[watch.blocker.index()] = ++time;
        component.push_back(watch.blocker);
        path.push_back({watch.blocker, 0});
        least.push_back(time);
        deeper = true;
      } else if (when != closed) {
        least.back() = std::min(least.back(), when);
      }
    }
    if (deeper) continue;
    const Lit l = path.back().literal;
    const std::uint32_t low = least.back();
    path.pop_back();
    least.pop_back();
    if (!least.empty()) least.back() = std::min(least.back(), low);
    if (low != reached[l.index()]) continue;
    // l is the first of its component, which is on top of the stack.
    std::size_t begin = component.size();
    Lit first = l;
    do {
      begin--;
      if (component[begin].var() < first.var()) first = component[begin];
    } while (component[begin] != l);
    for (std::size_t i = begin; i < component.size(); i++) {
      const Lit member = component[i];
      reached[member.index()] = closed;
      representative[member.index()] = first;
      if (member == ~first) return bench.fix(first) && bench.fix(~first);
    }
    component.resize(begin);
  }
  return true;
}

/// Rewrites the clauses of more than two literals.
bool Equivalences::substitute() {
  std::vector<Ref> clauses;
  propagation.forEachConstraint([&](Ref ref) {
    const Header& c = propagation.at(ref);
    if (c.removed == 0 && c.kind == Kind::clause && c.size > 2) clauses.push_back(ref);
  });
  std::vector<Lit> rewritten;
  for (const Ref ref : clauses) {
    const auto& c = static_cast<const Clause&>(propagation.at(ref));
    bench.charge(c.size);
    bool different = false;
    bool satisfied = false;
    rewritten.clear();
    for (std::uint32_t i = 0; i < c.size; i++) {
      const Lit l = c.literals()[i];
      satisfied |= trail.isTrue(l);
      if (trail.isAssigned(l.var())) continue;
      different |= representative[l.index()] != l;
      rewritten.push_back(representative[l.index()]);
    }
    if (satisfied || !different) continue;
    std::sort(rewritten.begin(), rewritten.end());
    rewritten.erase(std::unique(rewritten.begin(), rewritten.end()), rewritten.end());
    for (std::size_t i = 1; i < rewritten.size(); i++)
      satisfied |= rewritten[i] == ~rewritten[i - 1];
    if (satisfied)
      bench.remove(ref); // the implications alone satisfy it
    else if (!bench.replace(ref, rewritten))
      return false;
  }
  return true;
}

bool Equivalences::run() {
  const auto literals = 2 * static_cast<std::size_t>(trail.variables());
  representative.resize(literals);
  for (std::size_t i = 0; i < literals; i++)
    representative[i] = Lit::fromIndex(static_cast<std::uint32_t>(i));
  reached.assign(literals, 0);
  component.clear();
  path.clear();
  std::uint32_t time = 0;
  for (std::uint32_t i = 0; i < literals; i++) {
    const Lit l = Lit::fromIndex(i);
    if (reached[i] == 0 && !trail.isAssigned(l.var()) && !visit(l, time)) return false;
  }
  std::size_t different = 0;
  for (Var v = 0; v < trail.variables(); v++)
    different += representative[Lit::of(v).index()] != Lit::of(v) ? 1 : 0;
  if (different > known) bench.count.equivalences += different - known;
  known = different;
  return different == 0 || substitute();
}

} // namespace estoc
