/// \file
/// The decision order: which variable the search assigns next.
#ifndef QUILLON_VAR_ORDER_H
#define QUILLON_VAR_ORDER_H

#include "Global.h"
#include "SolverTypes.h"

/// The decision variables in one array by descending activity, kept in order by insertion steps,
/// with a scan position before which every variable is assigned.
class VarOrder {
  const vec<signed char>& assigns; ///< the solver's values
  const vec<double>& activity;     ///< the solver's activities
  vec<int> varpos;                 ///< per variable: its position in `order`, -1 if never decided
  vec<Var> order;                  ///< the decision variables by non-increasing activity
  double random_seed = 91648253;
  int last_var = 0; ///< all variables at lower positions are assigned

  friend class SolverAudit;

 public:
  /// Binds to the solver's tables, which must outlive the order.
  VarOrder(const vec<signed char>& values, const vec<double>& activities)
      : assigns(values), activity(activities) {}

  /// Registers the next variable, at the end of the order if it is a decision variable.
  void newVar(bool decision_var);
  bool decisionVar(Var x) const { return varpos[x] != -1; }
  /// Restores the order after x's activity has grown. Linear in the positions x moves.
  void update(Var x);
  /// To be called when x has become unassigned.
  void undo(Var x) {
    if (decisionVar(x) && varpos[x] < last_var) last_var = varpos[x];
  }
  /// The unassigned variable of highest activity, or with probability `random_var_freq` one drawn
  /// at random if that is unassigned; -1 when every decision variable is assigned.
  Var select(double random_var_freq);
  /// Sorts everything anew by activity.
  void updateAll();
  /// Reorders the first `nvars` positions at random.
  void permute(int nvars);
};

#endif
