/// \file
/// The search: decisions, restarts, and the tightening of the objective.
#include <cmath>

#include "Parameters.h"
#include "Solver.h"

using namespace quillon;

using namespace search_budgets;

namespace {

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
      if (learning && accumulator.degree != 1) { // of degree 1 it is a clause
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
  nPBLearnt = first_pb_learnts;
  const SolveResult result = runSearch(assumps);
  if (host != nullptr) host->onEnd();
  propQ.clear();
  cancelUntil(0);
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

  const SearchParams params(activity_rules::var_decay, activity_rules::clause_decay,
                            random_decisions);
  double nof_conflicts = first_conflicts;
  const int first_learnt_limit = nConstrs() / constraints_per_learnt;
  double nof_learnts = first_learnt_limit;
  for (;;) {
    const lbool status = search(asLimit(nof_conflicts), asLimit(nof_learnts), params);
    if (status == l_Undef) {
      nof_conflicts *= conflict_growth;
      nof_learnts *= learnt_growth;
      nPBLearnt *= learnt_growth;
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
