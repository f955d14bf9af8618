/// \file
/// Propagation: the loops over the watch lists and the steps of clauses and pseudo-Boolean
/// constraints, with watched sums and fake watches.
#include <bit>

#include "Constraints.h"
#include "Prefetch.h"
#include "Solver.h"

using namespace quillon;

// What a visit needs is in this file, so that the compiler can make one loop of it.

// ------------------------------------------------------------------------------------------------
// Watches

void PseudoBool::setWatch(Solver& S, int iterm, bool /*trail*/) {
  if (!is_watched(iterm)) startWatch(S, iterm);
}

inline void PseudoBool::startWatch(Solver& S, int iterm) {
  const PBTerm term = terms()[iterm];
  MarkWord* const mark = watched() + iterm / word_bits;
  MarkWord* const fake = mark + markWords(nterms);
  *mark |= bit(iterm);
  if ((*fake & bit(iterm)) != 0) { // the entry stays in place and counts from now on
    *fake &= ~bit(iterm);
  } else {
    S.pb_watches[index(~term.lit)].push(S.pool, pbWatchTerm{this, iterm});
  }
  const int64 sum = static_cast<int64>(watchsum) + term.coeff();
  if (sum > INT_MAX) numericOverflow(OverflowGuard::watching);
  watchsum = static_cast<int>(sum);
}

void PseudoBool::setfakeWatch(Solver& S, int iterm) {
  const PBTerm& term = terms()[iterm];
  assert(S.value(term.lit) == l_False);
  assert(!is_watched(iterm));
  if (is_fakewatched(iterm)) return;
  fakewatched()[iterm / word_bits] |= bit(iterm);
  S.pb_watches[index(~term.lit)].push(S.pool, pbWatchTerm{this, iterm});
}

void PseudoBool::unwatchTerm(int index) {
  if (is_watched(index)) watchsum -= terms()[index].coeff();
  watched()[index / word_bits] &= ~bit(index);
  fakewatched()[index / word_bits] &= ~bit(index);
}

void PseudoBool::assertAndWatch(Solver& S, int64 open_sum, int assertion_level) {
  const int64 goal = rhs_goal;
  amaxpos = -1;
  for (int i = 0; i < nterms; i++) {
    const PBTerm& term = terms()[i];
    if (amaxpos == -1 && S.value(term.lit) == l_Undef) {
      if (open_sum < goal + term.coeff()) {
        [[maybe_unused]] const bool asserted = S.enqueue(term.lit, this, term.coeff());
        assert(asserted);
      } else {
        amaxpos = i;
        amax = term.coeff();
      }
    }
    if (S.value(term.lit) != l_False) {
      if (amaxpos == -1 || watchsum < amax + goal) setWatch(S, i, false);
    } else if (S.level[var(term.lit)] == assertion_level || S.accumulator.isMarked(var(term.lit))) {
      setfakeWatch(S, i);
    }
    assert(!is_watched(i) || S.value(term.lit) != l_False);
  }
}

// ------------------------------------------------------------------------------------------------
// Propagation

bool PseudoBool::propagate(Solver& S, Lit p, bool& /*keep_watch*/) {
  int p_pos = 0;
  while (terms()[p_pos].lit != ~p) p_pos++;
  return falsified(S, p_pos);
}

/// All terms that are not false being watched: enqueues those too large to be missed, which are in
/// order of size. A watched false term is one whose falsification is still in the queue: then the
/// result is false, and there is a conflict.
inline bool PseudoBool::implyLargest(Solver& S) {
  const PBTerm* const term = terms();
  const MarkWord* const marks = watched();
  const int words = markWords(nterms);
  for (int w = 0; w < words; w++) {
    for (MarkWord rest = marks[w]; rest != 0; rest &= rest - 1) {
      const int i = w * word_bits + std::countr_zero(rest);
      if (i >= nterms || watchsum >= term[i].coeff() + static_cast<int64>(rhs_max)) return true;
      if (!S.enqueue(term[i].lit, this, term[i].coeff())) return false;
    }
  }
  return true;
}

bool PseudoBool::falsified(Solver& S, int iterm) {
  S.stats.pb_propagations++;
  const PBTerm* const term = terms();
  assert(S.value(term[iterm].lit) == l_False);
  unwatchTerm(iterm);
  const int64 G = rhs_max;
  const int64 safe_sum = G + amax;
  const int words = markWords(nterms);
  MarkWord* const marks = watched();

  // Watch more, in term order, until the sum is safe again.
  for (int w = 0; w < words && watchsum < safe_sum; w++) {
    for (MarkWord open = ~marks[w]; open != 0; open &= open - 1) {
      const int i = w * word_bits + std::countr_zero(open);
      if (S.value(term[i].lit) == l_False) continue;
      startWatch(S, i);
      if (watchsum >= safe_sum) return true;
    }
  }
  if (watchsum < rhs_goal) {
    setWatch(S, iterm, false);
    return false;
  }
  if (watchsum >= safe_sum) return true;

  if (!implyLargest(S)) {
    setWatch(S, iterm, false);
    return false;
  }
  S.notePBImplication();
  setfakeWatch(S, iterm);
  assert(watchsum >= G);
  return true;
}

bool Clause::propagate(Solver& S, Lit p, bool& keep_watch) {
  S.stats.propagations++;
  Lit* const data = lits();
  const Lit false_lit = ~p;
  if (data[0] == false_lit) {
    data[0] = data[1];
    data[1] = false_lit;
  }
  assert(data[1] == false_lit);
  if (S.value(data[0]) == l_True) {
    keep_watch = true;
    return true;
  }
  const int n = size();
  for (int k = 2; k < n; k++) {
    if (S.value(data[k]) != l_False) {
      data[1] = data[k];
      data[k] = false_lit;
      S.watches[index(~data[1])].push(S.pool, this);
      return true;
    }
  }
  keep_watch = true;
  return S.enqueue(data[0], this, 1);
}

// ------------------------------------------------------------------------------------------------
// The loops

Constr* Solver::propagate() {
  while (propQ.size() > 0) {
    const Lit p = propQ.dequeue();
    if (propQ.size() > 0) {
      prefetch(watches[index(propQ.head())].begin());
      prefetch(pb_watches[index(propQ.head())].begin());
    }
    Constr* confl = propagatePBs(p);
    if (confl == nullptr) confl = propagateClauses(p);
    if (confl != nullptr) {
      propagated = trail.size() - propQ.size() - 1;
      propQ.clear();
      return confl;
    }
  }
  return nullptr;
}

/// Visits the pseudo-Boolean constraints that watch ~p; the one in conflict, or null. The list is
/// rebuilt in place: each constraint puts back, in its turn, the one entry it may still need.
PseudoBool* Solver::propagatePBs(Lit p) {
  WatchList<pbWatchTerm>& list = pb_watches[index(p)];
  const pbWatchTerm* const visited = list.begin();
  const int n = list.size();
  list.clear(); // the storage stays
  stats.inspects += n;
  for (int i = 0; i < n; i++) {
    PseudoBool* const c = static_cast<PseudoBool*>(visited[i].pb);
    const bool fine = c->falsified(*this, visited[i].index);
    assert(list.size() <= i + 1);
    if (fine) continue;
    stats.inspects -= n - i - 1;
    for (int k = i + 1; k < n; k++) list.push(pool, pbWatchTerm(visited[k]));
    return c;
  }
  return nullptr;
}

/// Visits the clauses that watch ~p; the one in conflict, or null. Those that have found another
/// watch drop out of the list.
Clause* Solver::propagateClauses(Lit p) {
  WatchList<Constr*>& ws = watches[index(p)];
  Clause* confl = nullptr;
  int i = 0;
  int j = 0;
  while (confl == nullptr && i < ws.size()) {
    // Meant for problems that outgrow the caches. With 6,000 clauses one, two or four ahead, or
    // none, took the same time.
    if (i + 2 < ws.size()) prefetch(ws[i + 2]);
    Clause* const c = static_cast<Clause*>(ws[i]);
    bool keep_watch = false;
    if (!c->propagate(*this, p, keep_watch)) confl = c;
    if (keep_watch) ws[j++] = c;
    i++;
  }
  while (i < ws.size()) ws[j++] = ws[i++];
  ws.shrink(i - j);
  return confl;
}
