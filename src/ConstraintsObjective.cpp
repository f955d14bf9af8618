/// \file
/// The objective: a pseudo-Boolean constraint whose degree rises with every solution.
#include "Constraints.h"
#include "LevelSums.h"
#include "Solver.h"

using namespace quillon;

namespace {

constexpr int strategy_next_better = 1;
constexpr int64 no_better = 0;

/// For the record only: the degree of an objective that cannot be improved.
int saturated(int64 degree) {
  return degree > INT_MAX ? INT_MAX : static_cast<int>(degree);
}

} // namespace

int64 PseudoBool::newGoal(Solver& S, int selStrategy, bool isSAT) {
  if (!isSAT) {
    assert(selStrategy == 2);
    return no_better;
  }
  int64 lhs_sum = 0;
  bool done = true;
  for (int i = 0; i < nterms; i++) {
    const Lit lit = terms()[i].lit;
    if (S.level[var(lit)] > S.root_level) done = false;
    assert(S.value(lit) != l_Undef);
    if (S.value(lit) == l_True) lhs_sum += terms()[i].coeff();
  }
  assert(lhs_sum >= rhs_goal);

  // What is reported, with P and N the sums of the positive and of the negative coefficients and V
  // the value: V - N, or -V when minimising without a positive coefficient.
  if (!dir && overflow) numericOverflow(OverflowGuard::objective_value);
  const int64 reported = dir ? lhs_sum : lhs_max - lhs_sum;
  if (reported > INT_MAX) numericOverflow(OverflowGuard::objective_value);
  S.objResult = static_cast<int>(reported);

  if (done) return no_better;
  if (selStrategy == strategy_next_better) return lhs_sum + 1;
  std::printf("c strategy not yet supported\n");
  std::exit(exit_none);
}

bool PseudoBool::newObjConstraint(Solver& S, bool isSAT) {
  const int64 new_goal = newGoal(S, strategy_next_better, isSAT);
  LevelSums& levels = S.levelSums;
  levels.start(S.root_level, S.decisionLevel());
  for (int i = 0; i < nterms; i++) {
    const PBTerm& term = terms()[i];
    const Var v = var(term.lit);
    assert(S.value(v) != l_Undef);
    if (S.value(term.lit) == l_False) levels.addFalse(S.level[v], term.coeff(), v);
    if (term.coeff() != 1) levels.addOpen(S.level[v], term.coeff());
  }

  // A sum that did not fit in 32 bits proves nothing; then the terms themselves decide.
  const bool all_true = !overflow && new_goal > lhs_max;
  const bool none_to_gain = levels.assertionLevel() == S.root_level; // all false ones are fixed
  if (new_goal == no_better || all_true || none_to_gain) {
    rhs_goal = saturated(new_goal - 1);
    rhs_max = saturated(new_goal);
    return false;
  }
  if (overflow) numericOverflow(OverflowGuard::bound);
  rhs_goal = rhs_max = static_cast<int>(new_goal);
  assert(lhs_max >= rhs_goal);

  const int64 open_sum = levels.findAssertionLevel(S.decisionLevel(), lhs_max, rhs_goal,
                                                   [&S](Var v) { S.accumulator.mark(v); });
  const int assertion_level = levels.assertionLevel();
  assert(assertion_level >= S.root_level);
  S.cancelUntil(assertion_level);

  clearMarks(); // the entries in the watch lists stay
  watchsum = 0;
  assertAndWatch(S, open_sum, assertion_level);
  return true;
}
