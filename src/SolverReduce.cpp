/// \file
/// Thinning out the constraints: of little use, or satisfied for good.
#include "Solver.h"
#include "Sort.h"

namespace {

/// Ascending activity.
struct reduceDB_lt {
  bool operator()(Clause* x, Clause* y) const { return x->activity() < y->activity(); }
};
struct pb_reduceDB_lt {
  bool operator()(PseudoBool* x, PseudoBool* y) const { return x->activity() < y->activity(); }
};

/// Removes the less active half of `db`, and from the rest what is below `inc` over its size, but
/// nothing that is locked. The survivors are left in order of activity; what goes is appended to
/// `gone`, still watching.
template <class C, class LessThan>
void reduce(const Solver& S, vec<C*>& db, double inc, LessThan lt, vec<Constr*>& gone) {
  if (db.size() == 0) return;
  const double extra_lim = inc / db.size();
  sort(db, lt);
  const int half = db.size() / 2;
  int j = 0;
  for (int i = 0; i < db.size(); i++) {
    const bool inactive = i < half || static_cast<double>(db[i]->activity()) < extra_lim;
    if (inactive && !db[i]->locked(S)) {
      gone.push(db[i]);
    } else {
      db[j++] = db[i];
    }
  }
  db.shrink(db.size() - j);
}

/// Takes the constraints of `db` that are satisfied at the root out and appends them to `gone`.
template <class C> void simplify(Solver& S, vec<C*>& db, vec<Constr*>& gone) {
  int j = 0;
  for (int i = 0; i < db.size(); i++) {
    if (db[i]->simplify(S)) {
      gone.push(db[i]);
    } else {
      db[j++] = db[i];
    }
  }
  db.shrink(db.size() - j);
}

} // namespace

void Solver::reduceDB() {
  vec<Constr*> gone;
  reduce(*this, learnts, cla_inc, reduceDB_lt(), gone);
  removeAll(gone);
}

void Solver::pb_reduceDB() {
  vec<Constr*> gone;
  reduce(*this, pb_learnts, pb_inc, pb_reduceDB_lt(), gone);
  removeAll(gone);
}

/// Removes many constraints at the price of one pass over the watch lists that hold them.
void Solver::removeAll(const vec<Constr*>& gone) {
  if (gone.size() == 0) return;
  list_is_left.growTo(2 * nVars(), 0);
  for (int i = 0; i < gone.size(); i++) gone[i]->leaveLists(*this);
  for (int i = 0; i < lists_left.size(); i++) {
    const int list = lists_left[i];
    list_is_left[list] = 0;
    watches[list].removeIf([](const Constr* c) { return c->isLeaving(); });
    pb_watches[list].removeIf([](const pbWatchTerm& entry) { return entry.pb->isLeaving(); });
  }
  lists_left.clear();
  for (int i = 0; i < gone.size(); i++) gone[i]->remove(*this, true);
}

/// Removes the constraints that the level-0 assignment satisfies; false on a conflict there. The
/// problem's are only looked through when there are new facts.
bool Solver::simplifyDB() {
  if (!ok) return true;
  assert(decisionLevel() == 0);
  if (propagate() != nullptr) return false;
  vec<Constr*> gone;
  simplify(*this, learnts, gone);
  if (trail.size() > simplified) simplify(*this, constrs, gone);
  simplify(*this, pb_learnts, gone);
  removeAll(gone);
  simplified = trail.size();
  return true;
}
