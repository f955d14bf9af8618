/// \file
/// Failed-literal probing.
#include "Probing.h"

#include <algorithm>

namespace estoc {

/// Whether l implies something by a clause of two, and no such clause implies it.
bool Probing::isRoot(Lit l) const {
  const auto inBinary = [&](Lit q) {
    const auto& list = propagation.clauseWatches(q);
    return std::any_of(list.begin(), list.end(), [](const ClauseWatch& w) { return w.binary(); });
  };
  return inBinary(~l) && !inBinary(l);
}

/// The last literal on level 1 that alone leads to the conflict.
Lit Probing::bottleneck(Ref conflict) {
  Lit last;
  bench.walkBack(conflict, trail.size(), [&](Lit l, int others) {
    last = l;
    return others > 0;
  });
  return last;
}

bool Probing::probe(Lit l) {
  bench.count.probes++;
  propagation.openLevel();
  propagation.enqueue(l, no_ref);
  const Ref conflict = propagation.propagate();
  if (conflict == no_ref) {
    propagation.backjump(0);
    return true;
  }
  bench.count.failed++;
  const Lit narrow = bottleneck(conflict);
  return bench.fix(~narrow) && bench.fix(~l);
}

bool Probing::run(bool all) {
  const std::uint32_t literals = 2 * static_cast<std::uint32_t>(trail.variables());
  tried.resize(literals);
  for (std::uint32_t looked = 0; looked < literals && !bench.isOver(); looked++) {
    if (next >= literals) next = 0;
    const Lit l = Lit::fromIndex(next++);
    bench.charge(1);
    if (trail.isAssigned(l.var()) || tried[l.index()] == trail.size() + 1) continue;
    if (!all && !isRoot(l)) continue;
    if (!probe(l)) return false;
    if (!trail.isAssigned(l.var())) tried[l.index()] = trail.size() + 1;
  }
  return true;
}

} // namespace estoc
