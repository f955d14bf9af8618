/// \file
/// The solver kernel: assignment, propagation, conflict analysis, learning and search.
#include "Solver.h"

#include <cmath>

#include "Sort.h"

namespace {

/// Bounds on learnt pseudo-Boolean constraints; one that grows past them is given up.
constexpr int64 scaled_coefficient_limit = 100000; ///< of a coefficient after a scaling pass
constexpr int64 degree_limit = 1000;               ///< of the degree after a scaling pass

/// Activities are rescaled when they pass these.
constexpr double var_activity_limit = 1e100;
constexpr double var_activity_rescale = 1e-100;
constexpr float constr_activity_limit = 1e20F;
constexpr double constr_activity_rescale = 1e-20;

/// Search: the limits of the first call and their growth with every call that ends undecided.
constexpr double first_conflict_budget = 100;
constexpr double conflict_budget_growth = 1.5;
constexpr double learnt_limit_growth = 1.1;
constexpr int constraints_per_learnt = 3;
constexpr double first_pb_limit = 50;

/// Ascending activity.
struct reduceDB_lt {
  bool operator()(Clause* x, Clause* y) const { return x->activity() < y->activity(); }
};
struct pb_reduceDB_lt {
  bool operator()(PseudoBool* x, PseudoBool* y) const { return x->activity() < y->activity(); }
};

float increased(float activity, double inc) {
  return static_cast<float>(inc + static_cast<double>(activity));
}

void rescale(float& activity) {
  activity = static_cast<float>(static_cast<double>(activity) * constr_activity_rescale);
}

/// A limit, truncated; beyond the range of int the largest int serves as well.
int asLimit(double x) {
  return x >= INT_MAX ? INT_MAX : static_cast<int>(x);
}

void audit([[maybe_unused]] const Solver& S, [[maybe_unused]] AuditPoint point) {
#ifndef NDEBUG
  if (search_audit != nullptr) search_audit(S, point);
#endif
}

} // namespace

// ------------------------------------------------------------------------------------------------
// Construction

Solver::~Solver() {
  for (int i = 0; i < learnts.size(); i++) learnts[i]->remove(*this, true);
  for (int i = 0; i < pb_learnts.size(); i++) pb_learnts[i]->remove(*this, true);
  for (int i = 0; i < constrs.size(); i++) constrs[i]->remove(*this, true);
  for (int i = 0; i < watches.size(); i++) {
    watches[i].release(pool);
    pb_watches[i].release(pool);
  }
}

Var Solver::newVar(bool decision_var, int /*vlink*/, int /*vsize*/, int /*vmax*/) {
  const Var x = nVars();
  watches.push();
  watches.push();
  pb_watches.push();
  pb_watches.push();
  reason.push(nullptr);
  reason_coeff.push(0);
  assigns.push(static_cast<signed char>(toInt(l_Undef)));
  litValues.push(static_cast<signed char>(toInt(l_Undef)));
  litValues.push(static_cast<signed char>(toInt(l_Undef)));
  level.push(-1);
  activity.push(0.0);
  order.newVar(decision_var);
  return x;
}

void Solver::reserve(int nvars) {
  const int nliterals = nvars > INT_MAX / 2 ? INT_MAX : 2 * nvars;
  watches.reserve(nliterals);
  pb_watches.reserve(nliterals);
  litValues.reserve(nliterals);
  reason.reserve(nvars);
  reason_coeff.reserve(nvars);
  assigns.reserve(nvars);
  level.reserve(nvars);
  activity.reserve(nvars);
  trail.reserve(nvars);
  propQ.reserve(nvars);
  order.reserve(nvars);
}

bool Solver::addPBConstraint(int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p, int v_n,
                             bool isObj) {
  const bool is_equality = pbtype == pb_equal;
  PseudoBool* pb = nullptr;
  Clause* c = nullptr;
  bool ret = PseudoBool_new(*this, pbgoal, is_equality ? pb_at_least : pbtype, pbterms, v_p, v_n,
                            pb, c, false);
  if (isObj && pb != nullptr) { // an objective without terms is none
    objConstr = pb;
    pb->setDir(pbgoal <= 0);
  }
  if (pb != nullptr) constrs.push(pb);
  if (c != nullptr) constrs.push(c);
  if (is_equality && ret) {
    pb = nullptr;
    c = nullptr;
    ret = PseudoBool_new(*this, pbgoal, pb_at_most, pbterms, v_p, v_n, pb, c, false);
    if (pb != nullptr) constrs.push(pb);
    if (c != nullptr) constrs.push(c);
  }
  if (!ret) ok = false;
  return ret;
}

bool Solver::addClause(const vec<Lit>& literals) {
  Clause* c = nullptr;
  const bool ret = Clause_new(*this, literals, false, c);
  if (c != nullptr) constrs.push(c);
  if (!ret) ok = false;
  return ret;
}

// ------------------------------------------------------------------------------------------------
// Assignment

bool Solver::assume(Lit p) {
  assert(propQ.size() == 0);
  trail_lim.push(trail.size());
  trail_pb.push(0);
  return enqueue(p, nullptr, 1);
}

void Solver::undoOne() {
  const Lit p = trail.last();
  const Var x = var(p);
  trail.pop();
  setValue(p, l_Undef);
  reason[x] = nullptr;
  level[x] = -1;
  order.undo(x);
  while (x < undos.size() && undos[x].size() > 0) {
    undos[x].last()->undo(*this);
    undos[x].pop();
  }
}

void Solver::cancel() {
  assert(propQ.size() == 0);
  for (int n = trail.size() - trail_lim.last(); n > 0; n--) undoOne();
  trail_lim.pop();
  trail_pb.pop();
}

void Solver::cancelUntil(int target) {
  while (decisionLevel() > target) cancel();
}

bool Solver::checkModel() const {
  for (int i = 0; i < constrs.size(); i++) {
    if (constrs[i] == objConstr || constrs[i]->learnt()) continue;
    if (!constrs[i]->checkModel(*this)) {
      std::fprintf(stderr, "Validation fails on constr %d\n", i);
      return false;
    }
  }
  return true;
}

MemoryUse Solver::memoryUse() const {
  MemoryUse use = {constrs.bytes() + learnts.bytes() + pb_learnts.bytes(), 0, 0};
  for (int i = 0; i < constrs.size(); i++) use.constraints += constrs[i]->bytes();
  for (int i = 0; i < learnts.size(); i++) use.constraints += learnts[i]->bytes();
  for (int i = 0; i < pb_learnts.size(); i++) use.constraints += pb_learnts[i]->bytes();
  for (int i = 0; i < watches.size(); i++)
    use.watches += watches[i].bytes() + pb_watches[i].bytes();
  use.variables = watches.bytes() + pb_watches.bytes() + undos.bytes() + activity.bytes() +
                  order.bytes() + list_is_left.bytes() + assigns.bytes() + litValues.bytes() +
                  reason.bytes() + reason_coeff.bytes() + level.bytes() + analyze_seen.bytes() +
                  accumulator.bytes() + model.bytes() + levelSums.bytes() +
                  static_cast<size_t>(trail_lim.capacity()) * sizeof(int) +
                  static_cast<size_t>(trail_pb.capacity()) +      // at the deepest level so far
                  static_cast<size_t>(nVars()) * 2 * sizeof(Lit); // the trail and its queue
  return use;
}

// ------------------------------------------------------------------------------------------------
// Conflict analysis

/// Walks the trail back from the conflict to the first unique implication point (J. P. Marques
/// Silva and K. A. Sakallah, GRASP, 1996; L. Zhang et al., Efficient Conflict Driven Learning in a
/// Boolean Satisfiability Solver, 2001), undoing it on the way. `out_learnt` receives the learnt
/// clause, its asserting literal first, and `out_btlevel` the level to jump back to. While the
/// current level's `trail_pb` is set the same walk resolves a pseudo-Boolean constraint by cutting
/// planes; `out_PB_learnt` receives every literal that entered it, and if the flag is still set
/// afterwards the accumulator holds a constraint that asserts the first literal of the clause.
void Solver::analyze(Constr* confl, vec<Lit>& out_learnt, vec<Lit>& out_PB_learnt,
                     int& out_btlevel) {
  analyze_seen.growTo(nVars(), 0);
  PB_qualified = false;
  marker = 1;
  if (trail_pb.last() == 1) {
    if (npbLimit != -1) {
      tmpGoal = 0;
      tmpTrueSum = 0;
      for (int i = 0; i < learnedVars.size(); i++) accumulator[learnedVars[i]].inLearnedPB = 0;
      learnedVars.clear();
    } else {
      trail_pb.last() = 0;
    }
  }

  out_learnt.push(lit_Undef); // room for the asserting literal
  out_btlevel = 0;
  vec<Lit>& p_reason = analyze_reason;
  Lit p = lit_Undef;
  int pathC = 0; // marked variables of the current level that are still to be resolved
  do {
    assert(confl != nullptr);
    if (trail_pb.last() == 1 && p != lit_Undef && PB_qualified) resolveOn(p, out_PB_learnt);

    p_reason.clear();
    const bool merged = confl->calcReason(*this, p, p_reason, out_PB_learnt);
    for (int i = 0; i < p_reason.size(); i++) {
      const Lit q = p_reason[i];
      if (trail_pb.last() == 1 && !merged && (PB_qualified || p == lit_Undef))
        incrLearned(p, ~q, out_PB_learnt);
      const Var x = var(q);
      if (analyze_seen[x] != 0 || level[x] == 0) continue;
      analyze_seen[x] = 1;
      if (level[x] == decisionLevel()) {
        pathC++;
      } else {
        out_learnt.push(~q);
        out_btlevel = max(out_btlevel, level[x]);
      }
    }
    if (trail_pb.last() != 0 && PB_qualified) { // p has cancelled out
      accumulator[var(p)].tmpCoef = 0;
      accumulator[var(p)].inLearnedPB = 0;
    }

    do {
      p = trail.last();
      const Var x = var(p);
      confl = reason[x];
      const Learned& term = accumulator[x];
      PB_qualified = trail_pb.last() != 0 && term.tmpCoef != 0 && term.inLearnedPB != 0 &&
                     value(Lit(x, term.tmpSign)) == l_False;
      undoOne();
    } while (analyze_seen[var(p)] == 0);
    analyze_seen[var(p)] = 0;
    assert(!PB_qualified || sign(p) != accumulator[var(p)].tmpSign);
    pathC--;
  } while (pathC > 0);

  forgetExplained();
  out_learnt[0] = ~p;
  for (int i = 0; i < out_learnt.size(); i++) analyze_seen[var(out_learnt[i])] = 0;

  if (trail_pb.last() != 0) {
    multiplytmpLearned(p, 1, out_PB_learnt); // saturates and measures the slack
    abandonUnlessConflicting();
  }
}

/// Ends an analysis: every constraint gives full reasons again.
void Solver::forgetExplained() {
  for (int i = 0; i < explained.size(); i++) explained[i]->explained = false;
  explained.clear();
}

/// Scales the accumulator so that its literal ~p and p in its reason cancel when that is added with
/// the coefficient left for ~p.
void Solver::resolveOn(Lit p, const vec<Lit>& out_PB_learnt) {
  const Var x = var(p);
  int64& own = accumulator[x].tmpCoef;
  int64 mul1 = reason_coeff[x];
  const int64 gcd = GCD(mul1, own);
  if (gcd != 1) {
    mul1 /= gcd;
    own /= gcd;
  }
  assert(mul1 > 0 && own > 0);
  multiplytmpLearned(p, mul1, out_PB_learnt);
  abandonUnlessConflicting();
}

/// Gives pseudo-Boolean learning up for this conflict if the accumulator, as just measured, is no
/// longer falsified without the resolved literal, or its degree has grown too large.
void Solver::abandonUnlessConflicting() {
  if (tmpTrueSum >= tmpGoal || tmpGoal > degree_limit) trail_pb.last() = 0;
}

/// Saturates the accumulator, measures the sum of its literals that are not false, and multiplies
/// it by `mul`, all without the variable of p. A repeated entry of `first_vec` counts once.
void Solver::multiplytmpLearned(Lit p, int64 mul, const vec<Lit>& first_vec) {
  marker++;
  tmpTrueSum = 0;
  for (int i = 0; i < first_vec.size(); i++) {
    const Var v = var(first_vec[i]);
    Learned& term = accumulator[v];
    if (term.inLearnedPB == 0 || term.inLearnedPB == marker || v == var(p)) continue;
    if (term.tmpCoef > tmpGoal) term.tmpCoef = tmpGoal;
    if (value(Lit(v, term.tmpSign)) != l_False) tmpTrueSum += term.tmpCoef;
    if (tmpTrueSum >= tmpGoal) return; // no longer falsified: the caller gives it up
    term.tmpCoef *= mul;
    term.inLearnedPB = marker;
    if (term.tmpCoef < 0 || term.tmpCoef > scaled_coefficient_limit) {
      tmpGoal = degree_limit + 1; // so that the caller gives it up
      return;
    }
  }
  tmpGoal *= mul;
}

/// Adds `lit` of a clause to the accumulator, weighted like the literal q being resolved; with q =
/// `lit_Undef` the clause is the conflict itself and starts the accumulator.
void Solver::incrLearned(Lit q, Lit lit, vec<Lit>& learnt_vec) {
  int64 amount = 1;
  if (q == lit_Undef) {
    tmpGoal = 1;
  } else {
    amount = std::abs(accumulator[var(q)].tmpCoef);
    if (amount == 0) return;
  }
  if (addToLearned(lit, amount)) learnt_vec.push(lit);
}

/// Adds `amount` times `lit` to the accumulator; true if the variable was not in it.
/// Since a*x + b*~x = (a - b)*x + b, opposite literals cancel and lower the degree.
bool Solver::addToLearned(Lit lit, int64 amount) {
  const Var varp = var(lit);
  Learned& term = accumulator[varp];
  const bool entered = term.inLearnedPB == 0;
  if (entered) {
    term.tmpCoef = amount;
    term.tmpSign = sign(lit);
    term.inLearnedPB = 1;
    learnedVars.push(varp);
  } else if (term.tmpSign == sign(lit)) {
    term.tmpCoef += amount;
  } else {
    tmpGoal -= amount;
    term.tmpCoef -= amount;
    if (term.tmpCoef < 0) {
      term.tmpCoef = -term.tmpCoef;
      term.tmpSign = !term.tmpSign;
      tmpGoal += term.tmpCoef;
    }
  }
  if (term.tmpCoef == 0) term.inLearnedPB = 0;
  // clang-format off
  assert(term.tmpCoef>=0);
  // clang-format on
  return entered;
}

/// Greatest common divisor of |a| and |b|, b not 0 (Euclid).
int64 Solver::GCD(int64 a, int64 b) {
  a = std::abs(a);
  b = std::abs(b);
  assert(b != 0);
  while (b != 0) {
    const int64 r = a % b;
    a = b;
    b = r;
  }
  return a;
}

// ------------------------------------------------------------------------------------------------
// Recording what was learnt

void Solver::store(Clause* c) {
  learnts.push(c);
  claDecayActivity();
}

/// Stores the learnt clause after the backjump and asserts its first literal, which is unassigned;
/// all others are false.
void Solver::record(const vec<Lit>& clause) {
  assert(clause.size() != 0);
  Clause* c = nullptr;
  [[maybe_unused]] const bool built = Clause_new(*this, clause, true, c);
  assert(built);
  [[maybe_unused]] const bool asserted = enqueue(clause[0], c, 1);
  assert(asserted);
  if (c != nullptr) learnts.push(c);
}

/// Stores the pseudo-Boolean constraint in the accumulator, whose literals `constraint` lists, and
/// the learnt clause with its backjump level `bt`. True if either cannot be satisfied at the root.
bool Solver::record_PB(const vec<Lit>& constraint, const vec<Lit>& clause, int bt) {
  assert(constraint.size() != 0);
  PseudoBool* pb = nullptr;
  Clause* c = nullptr;
  if (!PseudoBool_add(*this, constraint, pb, c)) return true;
  if (pb != nullptr) {
    stats.pb_learnts++;
    pb_learnts.push(pb);
    pbDecayActivity();
  }
  if (c != nullptr) store(c);

  // The constraint has jumped back to where it asserts; that may be below the clause's level.
  const bool do_imply = decisionLevel() > bt;
  if (decisionLevel() > max(bt, root_level)) {
    propQ.clear(); // holds what is undone now; at the root it must stay
    cancelUntil(max(bt, root_level));
  }
  Clause* cc = nullptr;
  // The constraint may hold the asserting literal itself and fix it at level 0.
  bool possible = Clause_add(*this, clause, cc);
  if (possible && do_imply) possible = enqueue(clause[0], cc, 1);
  if (cc != nullptr) store(cc);
  return !possible;
}

// ------------------------------------------------------------------------------------------------
// Activities

void Solver::varBumpActivity(Lit p, double mul) {
  // A bump can be long, and nothing depends on it once the run is to end.
  if (var_decay < 0 || value(p) == l_Undef || stop_signal != 0) return;
  const Var x = var(p);
  activity[x] += mul * var_inc;
  if (activity[x] > var_activity_limit) varRescaleActivity();
  order.update(x);
}

void Solver::varDecayActivity() {
  if (var_decay >= 0) var_inc *= var_decay;
}

void Solver::varRescaleActivity() {
  for (Var x = 0; x < nVars(); x++) activity[x] *= var_activity_rescale;
  var_inc *= var_activity_rescale;
}

void Solver::claBumpActivity(Clause* c) {
  c->activity() = increased(c->activity(), cla_inc);
  if (c->activity() > constr_activity_limit) claRescaleActivity();
}

void Solver::claRescaleActivity() {
  for (int i = 0; i < learnts.size(); i++) rescale(learnts[i]->activity());
  cla_inc *= constr_activity_rescale;
}

void Solver::pbBumpActivity(PseudoBool* pb) {
  pb->activity() = increased(pb->activity(), pb_inc);
  if (pb->activity() > constr_activity_limit) pbRescaleActivity();
}

void Solver::pbRescaleActivity() {
  for (int i = 0; i < pb_learnts.size(); i++) rescale(pb_learnts[i]->activity());
  pb_inc *= constr_activity_rescale;
}

// ------------------------------------------------------------------------------------------------
// Database reduction

namespace {

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

// ------------------------------------------------------------------------------------------------
// Search

double Solver::progressEstimate() const {
  const double F = 1.0 / nVars();
  double progress = 0;
  for (Var x = 0; x < nVars(); x++)
    if (value(x) != l_Undef) progress += std::pow(F, level[x]);
  return progress / nVars();
}

/// Searches until a solution is found (true; it is in `model` and still on the trail), the problem
/// is unsatisfiable below `root_level` (false), or the budget of `nof_conflicts` is spent, the time
/// limit passed after a first solution, or a termination signal seen (undefined). More than
/// `nof_learnts` learnt clauses beyond the assigned variables are reduced. Negative: no limit.
lbool Solver::search(int nof_conflicts, int nof_learnts, const SearchParams& params) {
  if (!ok) return l_False;
  stats.starts++;
  int conflictC = 0;
  var_decay = 1 / params.var_decay;
  cla_decay = 1 / params.clause_decay;

  vec<Lit> learnt_clause;
  vec<Lit> PB_learnt_constraint;
  for (;;) {
    Constr* const confl = propagate();
    audit(*this, confl == nullptr ? AuditPoint::fixpoint : AuditPoint::conflict);
    if (report_due != 0 && host != nullptr) {
      report_due = 0;
      host->onReportDue(*this);
    }
    if (confl != nullptr) {
      stats.conflicts++;
      conflictC++;
      if (decisionLevel() == root_level) {
        if (root_level == 0) ok = false;
        return l_False;
      }
      learnt_clause.clear();
      PB_learnt_constraint.clear();
      int backtrack_level;
      analyze(confl, learnt_clause, PB_learnt_constraint, backtrack_level);
      if (trail_pb.last() == 1 && tmpGoal != 1) {
        if (record_PB(PB_learnt_constraint, learnt_clause, backtrack_level)) {
          propQ.clear();
          if (root_level == 0) ok = false;
          return l_False;
        }
      } else {
        cancelUntil(max(backtrack_level, root_level));
        record(learnt_clause);
        claDecayActivity();
      }
      varDecayActivity();
      audit(*this, AuditPoint::learnt);
      if (stop_signal != 0) return l_Undef;
      continue;
    }

    if (stop_signal != 0 || (oneSolFound && outOfTime())) return l_Undef;
    if (nof_conflicts >= 0 && conflictC >= nof_conflicts) {
      progress_estimate = progressEstimate();
      propQ.clear();
      cancelUntil(root_level);
      return l_Undef;
    }
    if (decisionLevel() == 0 && objConstr == nullptr) simplifyDB();
    assert(ok);
    if (nof_learnts >= 0 && learnts.size() - nAssigns() >= nof_learnts) reduceDB();
    if (pb_learnts.size() > 0 && pb_learnts.size() >= nPBLearnt) pb_reduceDB();
    audit(*this, AuditPoint::reduced);

    stats.decisions++;
    const Var next = order.select(params.random_var_freq);
    if (next == var_Undef) {
      model.growTo(nVars());
      for (Var x = 0; x < nVars(); x++) model[x] = value(x) == l_True;
      return l_True;
    }
    [[maybe_unused]] const bool assumed = assume(~Lit(next));
    assert(assumed);
  }
}

SolveResult Solver::solve(const vec<Lit>& assumps) {
  accumulator.growTo(nVars());
  nPBLearnt = first_pb_limit;
  std::printf("c #variables read: %d - #constraints read: %d\n", nVars(), nConstrs());

  const SolveResult result = runSearch(assumps);
  propQ.clear();
  cancelUntil(0);
  if (host != nullptr) host->onEnd();
  if (result == solve_done && oneSolFound)
    std::printf("c optimum objective found = %d\n", objResult);
  return result;
}

/// The whole search under `assumps`, restarts and tightening of the objective included. Ends
/// wherever it happens to be.
SolveResult Solver::runSearch(const vec<Lit>& assumps) {
  // Level-0 facts are propagated before the first assumption opens a level.
  if (assumps.size() > 0 && (!ok || propagate() != nullptr)) {
    ok = false;
    return solve_unsatisfiable;
  }
  for (int i = 0; i < assumps.size(); i++)
    if (!assume(assumps[i]) || propagate() != nullptr) return solve_unsatisfiable;
  root_level = decisionLevel();

  const SearchParams params(0.95, 0.999, 0.02);
  double nof_conflicts = first_conflict_budget;
  const int first_learnt_limit = nConstrs() / constraints_per_learnt;
  double nof_learnts = first_learnt_limit;
  for (;;) {
    const lbool status = search(asLimit(nof_conflicts), asLimit(nof_learnts), params);
    if (status == l_Undef) {
      nof_conflicts *= conflict_budget_growth;
      nof_learnts *= learnt_limit_growth;
      nPBLearnt *= learnt_limit_growth;
      if (stop_signal != 0) return solve_stopped;
    }
    const bool limited = !isOBJ() || oneSolFound;
    if (limited && status != l_False && outOfTime()) return solve_stopped;
    if (status == l_False) return oneSolFound ? solve_done : solve_unsatisfiable;
    if (status == l_True) {
      if (!isOBJ()) return solve_done;
      oneSolFound = true;
      // Demand a better solution and go on, with the budgets grown so far.
      const bool improvable = objConstr->newObjConstraint(*this, true);
      if (host != nullptr) host->onSolution(*this);
      if (!improvable) return solve_done;
      audit(*this, AuditPoint::tightened);
    }
  }
}
