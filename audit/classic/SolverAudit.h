/// \file
/// The tests' way into the solver's private state: the audit, which looks a whole solver over for
/// broken invariants, and access to the parts that unit tests set up and look at one by one.
#ifndef QUILLON_SOLVER_AUDIT_H
#define QUILLON_SOLVER_AUDIT_H

#include <string>
#include <vector>

#include "Solver.h"

using namespace quillon; // tests and fuzz targets speak of the engine throughout

class SolverAudit {
 public:
  // The audit -------------------------------------------------------------------------------------

  /// What is wrong with the solver's state, empty if nothing. Holds between any two steps of the
  /// search: trail, levels and reasons; watch lists against watch flags and sums; decision order.
  static std::string check(const Solver& S);
  /// The same, and what holds when propagation has ended without conflict: no constraint is
  /// violated, and nothing is left to imply as far as the watch schemes promise that.
  static std::string checkFixpoint(const Solver& S);
  /// For `search_audit`: makes whichever of the two checks fits the point, and throws a
  /// `std::logic_error` that says what is wrong.
  static void enforce(const Solver& S, AuditPoint point);
  /// Has every solver enforce the audit from now on; without effect where assertions are off.
  static void enable();

  // Parts of the state ----------------------------------------------------------------------------

  static BlockPool& pool(Solver& S) { return S.pool; }
  static vec<Constr*>& constrs(Solver& S) { return S.constrs; }
  static vec<Clause*>& learnts(Solver& S) { return S.learnts; }
  static vec<PseudoBool*>& pbLearnts(Solver& S) { return S.pb_learnts; }
  static WatchList<Constr*>& watches(Solver& S, Lit p) { return S.watches[index(p)]; }
  static WatchList<pbWatchTerm>& pbWatches(Solver& S, Lit p) { return S.pb_watches[index(p)]; }
  static Queue<Lit>& propQ(Solver& S) { return S.propQ; }
  static vec<Lit>& trail(Solver& S) { return S.trail; }
  static bool pbImpliedHere(const Solver& S) { return S.pbImpliedHere(); }
  static bool& learning(Solver& S) { return S.learning; }
  static Constr* reason(const Solver& S, Var x) { return S.reason[x]; }
  static int reasonCoeff(const Solver& S, Var x) { return S.reason_coeff[x]; }
  static int level(const Solver& S, Var x) { return S.level[x]; }
  static vec<double>& activity(Solver& S) { return S.activity; }
  static double& claInc(Solver& S) { return S.cla_inc; }
  static double& pbInc(Solver& S) { return S.pb_inc; }
  static int& rootLevel(Solver& S) { return S.root_level; }
  static PseudoBool* objective(Solver& S) { return S.objConstr; }

  static void forgetExplained(Solver& S) { S.forgetExplained(); }

  // The accumulator of the learnt pseudo-Boolean constraint
  static int64& degree(Solver& S) { return S.accumulator.degree; }
  static int64 coef(Solver& S, Var x) {
    return S.accumulator.contains(x) ? S.accumulator.coeff(x) : 0;
  }
  static bool negated(Solver& S, Var x) { return sign(S.accumulator.literal(x)); }
  static bool entered(Solver& S, Var x) { return S.accumulator.contains(x); }
  static bool isMarked(const Solver& S, Var x) { return S.accumulator.isMarked(x); }
  static int64 passWork(const Solver& S) { return S.accumulator.work(); }
  static int64 trueSum(const Solver& S) { return S.accumulator.trueSum(); }
  /// Sizes the accumulator as `Solver::solve` does and empties it as `Solver::analyze` does.
  static void emptyAccumulator(Solver& S);

  static int& watchsum(PseudoBool& pb) { return pb.watchsum; }
  static int lhsMax(const PseudoBool& pb) { return pb.lhs_max; }
  static bool overflow(const PseudoBool& pb) { return pb.overflow; }
  static int amax(const PseudoBool& pb) { return pb.amax; }

  /// The decision variables in order.
  static std::vector<Var> sequence(const VarOrder& order);
  /// How many of them stand before the place from which the next decision is sought.
  static int scanStart(const VarOrder& order);
  static double seed(const VarOrder& order) { return order.random_seed; }

  // Steps of the search ---------------------------------------------------------------------------

  static void analyze(Solver& S, Constr* confl, vec<Lit>& learnt, vec<Lit>& pb_learnt, int& level) {
    S.analyze(confl, learnt, pb_learnt, level);
  }
  static void record(Solver& S, const vec<Lit>& clause) { S.record(clause); }
  static bool recordPB(Solver& S, const vec<Lit>& constraint, const vec<Lit>& clause, int bt) {
    return S.record_PB(constraint, clause, bt);
  }
  static void scale(Solver& S, Lit p, int64 mul) { S.multiplytmpLearned(p, mul); }
  static bool add(Solver& S, Lit lit, int64 amount) {
    return S.accumulator.add(lit, amount).entered;
  }
  static int64 gcd(int64 a, int64 b) { return Solver::GCD(a, b); }
  static void bump(Solver& S, Lit p) { S.varBumpActivity(p, 1); }
  static void reduceClauses(Solver& S) { S.reduceDB(); }
  static void reducePB(Solver& S) { S.pb_reduceDB(); }
  static bool simplify(Solver& S) { return S.simplifyDB(); }

 private:
  class Pass;
};

#endif
