/// \file
/// The solver: assignment and propagation, conflict analysis, search, and optimisation.
#ifndef QUILLON_SOLVER_H
#define QUILLON_SOLVER_H

#include "Accumulator.h"
#include "Constraints.h"
#include "Global.h"
#include "Interrupt.h"
#include "LevelSums.h"
#include "Prefetch.h"
#include "Queue.h"
#include "SolverTypes.h"
#include "VarOrder.h"

/// Counters of a run.
struct SolverStats {
  int64 starts = 0;          ///< calls of `search`
  int64 decisions = 0;       ///< requests for a decision, one that finds no variable included
  int64 propagations = 0;    ///< visits of a clause from a watch list
  int64 inspects = 0;        ///< visits of a pseudo-Boolean watch entry
  int64 conflicts = 0;       ///< conflicts
  int64 pb_propagations = 0; ///< calls of the pseudo-Boolean propagation step
  int64 pb_learnts = 0;      ///< learnt pseudo-Boolean constraints stored
};

/// What steers one call of `Solver::search`.
struct SearchParams {
  double var_decay;       ///< in (0, 1): how fast variable activities fade
  double clause_decay;    ///< in (0, 1): how fast activities of learnt constraints fade
  double random_var_freq; ///< probability of a random decision
  SearchParams(double v, double c, double r) : var_decay(v), clause_decay(c), random_var_freq(r) {}
};

namespace quillon {

/// The result of `Solver::solve`.
enum SolveResult : int {
  solve_unsatisfiable = 0, ///< no assignment satisfies the constraints and assumptions
  solve_done = 1,          ///< a solution, with an objective an optimal one, is in `model`
  solve_stopped = 2        ///< time limit or termination signal
};

/// What the data of a search take in bytes, room that is kept for more not counted.
struct MemoryUse {
  size_t constraints; ///< the records of all constraints
  size_t watches;     ///< the entries of the watch lists
  size_t variables;   ///< what there is for each variable, literal or decision level
};

/// The world around a search: it is asked for the time and told how things go.
class SearchHost {
 public:
  virtual ~SearchHost() = default;
  /// Whether the search is to end with what it has. Asked at every decision, so it has to be quick.
  virtual bool outOfTime() { return false; }
  /// Called between two steps of the search once `report_due` has been set.
  virtual void onReportDue(const Solver& /*S*/) {}
  /// Called when a solution of a problem with an objective has been found and evaluated.
  virtual void onSolution(const Solver& /*S*/) {}
  /// Called as soon as the search is over, before anything is retracted or printed.
  virtual void onEnd() {}
};

} // namespace quillon

/// One problem and the state of its solution.
///
/// Use: create all variables with `newVar`, add the constraints with `addPBConstraint` (a false
/// result means that the problem is unsatisfiable), then call `solve`. Constraints come before the
/// first call of `solve`.
///
/// Watch lists: `watches[index(p)]` and `pb_watches[index(p)]` hold what must be visited when
/// literal p becomes true, that is the constraints that watch ~p.
class Solver {
 public:
  Solver() : order(assigns, activity) {}
  ~Solver();
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  // Problem ---------------------------------------------------------------------------------------

  /// A new variable. Only a `decision_var` is chosen for decisions. The other arguments are
  /// ignored.
  Var newVar(bool decision_var, int vlink, int vsize, int vmax);
  /// Makes room for `nvars` variables in all. Saves memory and time, no more.
  void reserve(int nvars);
  /// Adds the constraint of relation `pbtype` (see `PBRelation`) between the sum of `pbterms` and
  /// `pbgoal`; see `PseudoBool_new` for the arguments. An equality becomes two constraints. With
  /// `isObj` the sum becomes the objective: larger is better once in normal form. False means that
  /// the problem is unsatisfiable.
  bool addPBConstraint(int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p, int v_n,
                       bool isObj);
  /// Adds the clause over `literals`, or the one literal p; false as above.
  bool addClause(const vec<Lit>& literals);
  bool addUnit(Lit p) { return enqueue(p, nullptr, 1); }
  /// False once the constraints have been found contradictory without any decision.
  bool okay() const { return ok; }

  int nVars() const { return assigns.size(); }
  int nConstrs() const { return constrs.size(); }
  int nLearnts() const { return learnts.size(); }
  int pb_nLearnts() const { return pb_learnts.size(); }
  int nAssigns() const { return trail.size(); }
  /// Whether the problem has an objective.
  bool isOBJ() const { return objConstr != nullptr; }

  // Solution --------------------------------------------------------------------------------------

  /// Decides the problem under `assumps`, or with an objective finds an optimal solution. The
  /// solver is back at level 0 afterwards.
  quillon::SolveResult solve(const vec<Lit>& assumps);
  /// Whether `model` holds a solution of a problem with an objective.
  bool solutionFound() const { return oneSolFound; }
  /// Objective value of the solution in `model`, shifted or negated as `PseudoBool::newGoal` says.
  int objectiveValue() const { return objResult; }
  /// Whether `model` satisfies all problem constraints but the objective; names the first violated
  /// one on standard error.
  bool checkModel() const;
  /// Linear in the size of the problem.
  quillon::MemoryUse memoryUse() const;

  lbool value(Var x) const { return toLbool(assigns[x]); }
  lbool value(Lit p) const { return toLbool(litValues[index(p)]); }
  int decisionLevel() const { return trail_lim.size(); }

  // Assignment ------------------------------------------------------------------------------------

  /// Makes p true with reason `from` (null for none); `coeff` is p's coefficient in the reason.
  /// False if p is false already.
  bool enqueue(Lit p, Constr* from, int coeff);
  /// Opens a decision level with p, which must not be false, as its decision.
  bool assume(Lit p);
  /// Retracts the newest assignment.
  void undoOne();
  /// Retracts the current decision level.
  void cancel();
  /// Retracts levels until the current one is at most `target`.
  void cancelUntil(int target);
  /// Propagates all pending assignments; the constraint in conflict, or null.
  Constr* propagate();

 private:
  friend class Clause;
  friend class PseudoBool;
  friend class SolverAudit;
  friend bool Clause_new(Solver& S, const vec<Lit>& ps_, bool learnt, Clause*& out_clause);
  friend bool Clause_add(Solver& S, const vec<Lit>& ps_, Clause*& out_clause);
  friend bool PseudoBool_new(Solver& S, int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p,
                             int v_n, PseudoBool*& out, Clause*& c_out, bool learnt);
  friend bool PseudoBool_add(Solver& S, const vec<Lit>& first_vec, PseudoBool*& out,
                             Clause*& c_out);
  friend bool convertPBtoCNF(Solver& S, PseudoBool*& pb, Clause*& c_out, bool learnt);

  quillon::BlockPool pool; ///< where constraints and watch lists lie
  // Constraints, all owned
  bool ok = true;              ///< false once contradictory without any decision
  vec<Constr*> constrs;        ///< the problem's, in order
  vec<Clause*> learnts;        ///< learnt clauses
  vec<PseudoBool*> pb_learnts; ///< learnt pseudo-Boolean constraints

  // Activities: increments grow instead of all activities shrinking
  double cla_inc = 1.0;
  double cla_decay = 1.0;
  double pb_inc = 1.0;
  vec<double> activity; ///< per variable
  double var_inc = 1.0;
  double var_decay = 1.0; ///< negative: variable activities are off
  VarOrder order;

  // Propagation
  vec<quillon::WatchList<Constr*>> watches;        ///< per literal; all of them clauses
  vec<quillon::WatchList<pbWatchTerm>> pb_watches; ///< per literal
  vec<vec<Constr*>> undos; ///< per variable: whom to tell when it is unassigned; as long as needed
  Queue<Lit> propQ;        ///< assigned, not yet propagated
  int propagated = 0;      ///< literals propagated without conflict, as of the last one
  vec<int> lists_left;     ///< watch lists that constraints leave, see `removeAll`
  vec<char> list_is_left;  ///< per literal: whether it stands there

  // Assignment
  vec<signed char> assigns;   ///< per variable: 1 true, -1 false, 0 unassigned
  vec<signed char> litValues; ///< the same per literal, so that a sign costs no branch
  vec<Lit> trail;             ///< the assigned literals in order
  vec<int> trail_lim;         ///< trail length when each decision level was opened
  vec<char> trail_pb;         ///< per level: a pseudo-Boolean constraint implied something there
  vec<Constr*> reason;        ///< per variable: what implied it; null for decisions and at level 0
  vec<int> reason_coeff;      ///< per variable: its coefficient in the reason
  vec<int> level;             ///< per variable: where it was assigned; -1 unassigned
  int root_level = 0;         ///< the level that search never goes below
  int simplified = 0;         ///< number of facts at the last `simplifyDB`

  // Conflict analysis
  vec<char> analyze_seen;           ///< per variable; all 0 between calls
  quillon::Accumulator accumulator; ///< the pseudo-Boolean constraint being learnt
  bool learning = false;      ///< whether that is still of use in this analysis, or was to the last
  vec<PBTerm> collected;      ///< terms of the constraint being installed
  vec<Lit> analyze_reason;    ///< the reason being resolved
  vec<PseudoBool*> explained; ///< have given a reason in this analysis
  quillon::LevelSums levelSums; ///< of the constraint being installed
  bool PB_qualified = false; ///< the literal being resolved occurs, falsified, in the accumulator
  int npbLimit = 0;          ///< -1 switches pseudo-Boolean learning off

  // Objective
  PseudoBool* objConstr = nullptr;
  int objResult = 0;        ///< value of the last solution, as reported
  bool oneSolFound = false; ///< a solution has been found

 public:
  SolverStats stats;
  double progress_estimate = 0.0; ///< share of the search space done, roughly; at each restart
  vec<bool> model;                ///< per variable: the last solution found
  int verbosity = 0;
  double nPBLearnt = 0.0; ///< learnt pseudo-Boolean constraints kept before they are reduced
  quillon::SearchHost* host =
      nullptr; ///< not owned; null: there is no time limit, and nobody is told

 private:
  /// Notes that a pseudo-Boolean constraint implies something at the current level, and tells
  /// whether one has; such a level's conflict may teach another one.
  void notePBImplication() {
    if (decisionLevel() > 0) trail_pb.last() = 1;
  }
  bool pbImpliedHere() const { return trail_pb.last() != 0; }

  /// Calls `visit` with every array that grows with the problem or the search, and with the number
  /// of entries that it has for each variable from the beginning; 0 for those that come and go.
  template <class Self, class Visit> static void eachArray(Self& self, Visit visit) {
    visit(self.watches, 2);
    visit(self.pb_watches, 2);
    visit(self.litValues, 2);
    visit(self.assigns, 1);
    visit(self.reason, 1);
    visit(self.reason_coeff, 1);
    visit(self.level, 1);
    visit(self.activity, 1);
    visit(self.undos, 0);
    visit(self.trail, 0);
    visit(self.trail_lim, 0);
    visit(self.trail_pb, 0);
    visit(self.lists_left, 0);
    visit(self.list_is_left, 0);
    visit(self.analyze_seen, 0);
    visit(self.analyze_reason, 0);
    visit(self.explained, 0);
    visit(self.collected, 0);
    visit(self.model, 0);
  }

  // Propagation of one literal that has become true
  PseudoBool* propagatePBs(Lit p);
  Clause* propagateClauses(Lit p);
  void setValue(Lit p, lbool l) {
    assigns[var(p)] = static_cast<signed char>(toInt(sign(p) ? ~l : l));
    litValues[index(p)] = static_cast<signed char>(toInt(l));
    litValues[index(~p)] = static_cast<signed char>(toInt(~l));
  }

  // Search
  quillon::SolveResult runSearch(const vec<Lit>& assumps);
  lbool search(int nof_conflicts, int nof_learnts, const SearchParams& params);
  double progressEstimate() const;
  bool outOfTime() { return host != nullptr && host->outOfTime(); }
  void reduceDB();
  void pb_reduceDB();
  bool simplifyDB();
  void removeAll(const vec<Constr*>& gone);
  /// Notes that the lists of p are to be rid of constraints that leave.
  void leaveList(Lit p) {
    if (list_is_left[index(p)] != 0) return;
    list_is_left[index(p)] = 1;
    lists_left.push(index(p));
  }

  // Analysis and learning
  void analyze(Constr* confl, vec<Lit>& out_learnt, vec<Lit>& out_PB_learnt, int& out_btlevel);
  void forgetExplained();
  void record(const vec<Lit>& clause);
  bool record_PB(const vec<Lit>& constraint, const vec<Lit>& clause, int bt);
  /// Whether the reason of p, or with `lit_Undef` the conflict, is to enter the accumulator.
  bool mergesReasonOf(Lit p) const { return learning && (p == lit_Undef || PB_qualified); }
  void resolveOn(Lit p);
  void multiplytmpLearned(Lit p, int64 mul);
  void incrLearned(Lit q, Lit lit, vec<Lit>& learnt_vec);
  static int64 GCD(int64 a, int64 b);
  void store(Clause* c);

  // Activities
  void varBumpActivity(Lit p, double mul);
  void varDecayActivity();
  void varRescaleActivity();
  void claBumpActivity(Clause* c);
  void claDecayActivity() { cla_inc *= cla_decay; }
  void claRescaleActivity();
  void pbBumpActivity(PseudoBool* pb);
  void pbDecayActivity() { pb_inc *= cla_decay; }
  void pbRescaleActivity();
};

inline bool Solver::enqueue(Lit p, Constr* from, int coeff) {
  const lbool current = value(p);
  if (current != l_Undef) {
    if (current == l_True) return true;
    if (decisionLevel() == 0) ok = false;
    return false;
  }
  const Var x = var(p);
  const bool at_root = decisionLevel() == 0;
  setValue(p, l_True);
  level[x] = decisionLevel();
  reason[x] = at_root ? nullptr : from;
  reason_coeff[x] = at_root ? 0 : coeff == 0 ? 1 : coeff;
  trail.push(p);
  propQ.insert(p);
  quillon::prefetch(&watches[index(p)]);
  quillon::prefetch(&pb_watches[index(p)]);
  return true;
}

inline void Solver::undoOne() {
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

namespace quillon {

/// Where a search stands when it calls `search_audit`.
enum class AuditPoint {
  fixpoint, ///< everything is propagated, without conflict
  conflict, ///< propagation has ended in a conflict, which is still to be analysed
  learnt,   ///< what the conflict taught is stored, after the backjump
  reduced,  ///< learnt or satisfied constraints may have been removed
  tightened ///< the objective demands a better solution, after the backjump
};

#ifndef NDEBUG
/// In checking builds: called, if set, by every search to look the whole state over.
inline void (*search_audit)(const Solver& S, AuditPoint point) = nullptr;
#endif

} // namespace quillon

#endif
