/// \file
/// Who may be removed, and removal from the watch lists.
#include "Constraints.h"
#include "Solver.h"

using namespace quillon;

namespace {

/// Removes the first entry of `ws` for which `matches` holds; there must be one.
template <class List, class Matches> void removeFirst(List& ws, Matches matches) {
  int j = 0;
  while (j < ws.size() && !matches(ws[j])) j++;
  assert(j < ws.size());
  for (; j < ws.size() - 1; j++) ws[j] = ws[j + 1];
  ws.shrink(1);
}

} // namespace

void removeWatch(WatchList<Constr*>& ws, Constr* elem) {
  removeFirst(ws, [elem](const Constr* c) { return c == elem; });
}

void removeWatchTerm(WatchList<pbWatchTerm>& ws, Constr* elem) {
  removeFirst(ws, [elem](const pbWatchTerm& entry) { return entry.pb == elem; });
}

void removeUndo(vec<Constr*>& ws, Constr* elem) {
  removeFirst(ws, [elem](const Constr* c) { return c == elem; });
}

// ------------------------------------------------------------------------------------------------
// Clauses

bool Clause::locked(const Solver& S) const {
  return S.reason[var(lits()[0])] == this;
}

bool Clause::simplify(Solver& S) {
  assert(S.decisionLevel() == 0);
  for (int i = 0; i < size(); i++)
    if (S.value(lits()[i]) == l_True) return true;
  return false;
}

void Clause::leaveLists(Solver& S) {
  S.leaveList(~lits()[0]);
  S.leaveList(~lits()[1]);
  constraintnum = num_leaving;
}

void Clause::remove(Solver& S, bool just_dealloc) {
  if (!just_dealloc) {
    removeWatch(S.watches[index(~lits()[0])], this);
    removeWatch(S.watches[index(~lits()[1])], this);
  }
  const size_t size_in_bytes = bytes();
  this->~Clause();
  S.pool.give(this, size_in_bytes);
}

// ------------------------------------------------------------------------------------------------
// Pseudo-Boolean constraints

bool PseudoBool::locked(const Solver& S) const {
  for (int i = 0; i < nterms; i++) {
    const Lit lit = terms()[i].lit;
    if (S.value(lit) == l_True && S.reason[var(lit)] == this) return true;
    if (S.value(lit) == l_Undef) return false;
  }
  return false;
}

bool PseudoBool::simplify(Solver& S) {
  assert(S.decisionLevel() == 0);
  int64 sum = 0;
  for (int i = 0; i < nterms; i++) {
    if (S.value(terms()[i].lit) != l_True) continue;
    sum += terms()[i].coeff();
    if (sum >= rhs_goal) return true;
  }
  return false;
}

void PseudoBool::leaveLists(Solver& S) {
  for (int i = 0; i < nterms; i++)
    if (is_watched(i) || is_fakewatched(i)) S.leaveList(~terms()[i].lit);
  constraintnum = num_leaving;
}

void PseudoBool::remove(Solver& S, bool just_dealloc) {
  if (!just_dealloc) {
    for (int i = 0; i < nterms; i++)
      if (is_watched(i) || is_fakewatched(i))
        removeWatchTerm(S.pb_watches[index(~terms()[i].lit)], this);
  }
  destroy(S, this);
}
