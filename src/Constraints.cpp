/// \file
/// Building clauses, with two watched literals each (M. Moskewicz et al., Chaff: Engineering an
/// Efficient SAT Solver, 2001).
#include "Constraints.h"

#include "Solver.h"
#include "Sort.h"

Clause::Clause(const Lit* literals, int nlits, bool is_learnt, int num)
    : size_learnt((static_cast<unsigned>(nlits) << 1) | static_cast<unsigned>(is_learnt)) {
  constraintnum = num;
  for (int i = 0; i < nlits; i++) new (&lits()[i]) Lit(literals[i]);
  if (is_learnt) new (lits() + nlits) float(0);
}

Clause* Clause::build(Solver& S, const Lit* literals, int nlits, bool is_learnt) {
  static_assert(alignof(Lit) >= alignof(float) && sizeof(Lit) == sizeof(float));
  return new (S.pool.take(bytes(nlits, is_learnt)))
      Clause(literals, nlits, is_learnt, S.constrs.size());
}

int Clause::highestLevel(const Solver& S, int from) const {
  int best = from;
  for (int i = from + 1; i < size(); i++)
    if (S.level[var(lits()[i])] > S.level[var(lits()[best])]) best = i;
  return best;
}

void Clause::attach(Solver& S) {
  S.watches[index(~lits()[0])].push(S.pool, this);
  S.watches[index(~lits()[1])].push(S.pool, this);
}

Clause* Clause::finish(Solver& S, Clause* c, int second_watch, const vec<Lit>& bump_order) {
  std::swap(c->lits()[1], c->lits()[second_watch]);
  if (c->learnt()) {
    S.claBumpActivity(c);
    for (int i = 0; i < bump_order.size(); i++) S.varBumpActivity(bump_order[i], 1);
  }
  c->attach(S);
  return c;
}

namespace {

/// Normalises the literals of a clause at level 0: drops false and repeated literals, sorts the
/// rest. True if the clause is satisfied or a tautology and so not needed.
bool normalise(const Solver& S, vec<Lit>& qs) {
  for (int i = 0; i < qs.size();) {
    if (S.value(qs[i]) == l_True) return true;
    if (S.value(qs[i]) == l_False) {
      qs[i] = qs.last();
      qs.pop();
    } else {
      i++;
    }
  }
  sortUnique(qs);
  for (int i = 1; i < qs.size(); i++)
    if (qs[i] == ~qs[i - 1]) return true;
  return false;
}

} // namespace

bool Clause_new(Solver& S, const vec<Lit>& ps_, bool learnt, Clause*& out_clause) {
  out_clause = nullptr;
  vec<Lit> qs;
  if (!learnt) {
    assert(S.decisionLevel() == 0);
    ps_.copyTo(qs);
    if (normalise(S, qs)) return true;
  }
  const vec<Lit>& ps = learnt ? ps_ : qs;
  if (ps.size() == 0) return false;
  if (ps.size() == 1) return S.enqueue(ps[0], nullptr, 1);
  Clause* const c = Clause::build(S, static_cast<const Lit*>(ps), ps.size(), learnt);
  out_clause = Clause::finish(S, c, learnt ? c->highestLevel(S, 1) : 1, ps);
  return true;
}

bool Clause_add(Solver& S, const vec<Lit>& ps_, Clause*& out_clause) {
  out_clause = nullptr;
  if (ps_.size() == 0) return false;
  if (ps_.size() == 1) return S.enqueue(ps_[0], nullptr, 1);
  Clause* const c = Clause::build(S, static_cast<const Lit*>(ps_), ps_.size(), true);
  int watch = 1; // the first literal that is not false, else the one of highest level
  while (watch < ps_.size() && S.value(ps_[watch]) == l_False) watch++;
  if (watch == ps_.size()) watch = c->highestLevel(S, 1);
  out_clause = Clause::finish(S, c, watch, ps_);
  return true;
}
