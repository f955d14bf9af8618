/// \file
/// How resolution of clauses is written into a proof: the clauses are added, and each sum is
/// saturated, which makes a clause of it again.
#include "Analyzer.h"

#include <algorithm>

namespace estoc {

/// Clause `ref` is the conflict, or the reason that is resolved with next.
void Analyzer::writeResolution(Ref ref) {
  const bool is_first = derivation->isEmpty();
  derivation->push(propagation.at(ref).id);
  derivation->add();
  if (!is_first) derivation->saturate();
}

/// Literal l occurs in the clause that is being resolved, but not in what is learnt.
void Analyzer::noteRootFalse(Lit l) {
  seen[static_cast<std::size_t>(l.var())] = 1;
  to_clear.push_back(l.var());
  root_false.push_back(l);
}

void Analyzer::dropRootFalse() {
  for (const Lit l : root_false) derivation->dropAssigned(l, 1, trail);
  root_false.clear();
}

/// Resolves the literals away that minimisation has removed, and those that come in by this; the
/// newest ones first, since a reason has only older ones. What is `seen` is in the clause, or is
/// still to be resolved away.
void Analyzer::writeMinimisation() {
  const auto older = [&](Lit a, Lit b) {
    return trail.position(a.var()) < trail.position(b.var());
  };
  std::vector<Lit>& open = before_minimising; // a heap of literals to be resolved away
  std::size_t kept = 0;
  std::size_t removed = 0;
  for (const Lit l : open) // the order has not changed
    if (kept < lower.size() && lower[kept] == l)
      kept++;
    else
      open[removed++] = l;
  open.resize(removed);
  std::make_heap(open.begin(), open.end(), older);
  while (!open.empty()) {
    std::pop_heap(open.begin(), open.end(), older);
    const Lit gone = open.back();
    open.pop_back();
    const Ref reason = trail.reason(gone.var());
    writeResolution(reason);
    const auto& c = static_cast<const Clause&>(propagation.at(reason));
    for (std::uint32_t i = 0; i < c.size; i++) {
      const Lit l = c.literals()[i];
      if (seen[static_cast<std::size_t>(l.var())] != 0) continue;
      if (trail.level(l.var()) == 0) {
        noteRootFalse(l);
        continue;
      }
      seen[static_cast<std::size_t>(l.var())] = 1;
      to_clear.push_back(l.var());
      open.push_back(l);
      std::push_heap(open.begin(), open.end(), older);
    }
  }
}

} // namespace estoc
