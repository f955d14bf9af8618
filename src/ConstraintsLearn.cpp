/// \file
/// Learnt pseudo-Boolean constraints: the merging of terms into the solver's accumulator, and the
/// installation of what came out (cutting planes: J. N. Hooker, Generalized Resolution and Cutting
/// Planes, 1988; in conflict analysis: D. Chai and A. Kuehlmann, A Fast Pseudo-Boolean Constraint
/// Solver, 2003).
#include "Constraints.h"
#include "LevelSums.h"
#include "Solver.h"
#include "Sort.h"

namespace {

/// Bound on a coefficient while a constraint is being learnt; beyond it the learning is given up.
constexpr int64 merged_coefficient_limit = 10000;

} // namespace

void PseudoBool::UpdateLearned(Solver& S, int64 mul2, Lit lit, int coeff) {
  // clang-format off
  assert(mul2 > 0 && coeff>0);
  // clang-format on
  S.addToLearned(lit, mul2 * coeff);
  if (S.accumulator[var(lit)].tmpCoef > merged_coefficient_limit) S.trail_pb.last() = 0;
}

bool PseudoBool_add(Solver& S, const vec<Lit>& first_vec, PseudoBool*& out, Clause*& c_out) {
  out = nullptr;
  c_out = nullptr;
  LevelSums& levels = S.levelSums;
  levels.start(S.root_level, S.decisionLevel());
  assert(S.tmpGoal > 0 && S.tmpGoal <= INT_MAX);
  const int64 degree = S.tmpGoal;

  // The accumulator's entries become terms, each consumed so that a repeated one counts once.
  vec<PBTerm>& collected = S.collected;
  collected.clear();
  int64 lhs = 0;
  for (int i = 0; i < first_vec.size(); i++) {
    const Var v = var(first_vec[i]);
    Solver::Learned& merged = S.accumulator[v];
    int64 coeff = merged.tmpCoef;
    if (coeff == 0) continue;
    assert(coeff > 0);
    if (coeff > degree) coeff = degree;
    merged.tmpCoef = 0;
    lhs += coeff;
    const Lit lit(v, merged.tmpSign);
    collected.push(PBTerm(static_cast<int>(coeff), lit));
    if (S.value(lit) == l_False) levels.addFalse(S.level[v], coeff, v);
    levels.addOpen(S.value(lit) == l_Undef ? S.decisionLevel() + 1 : S.level[v], coeff);
  }
  if (lhs < degree) return false;
  sort(collected, LessThan_default<PBTerm>());

  // Jump back to the first level at which the constraint implies something, or if it is violated
  // there already to the one before. Violated by the facts of the root, it cannot be met at all.
  const int64 open_sum = levels.findAssertionLevel(
      S.decisionLevel(), lhs, degree, [&S](Var v) { S.accumulator[v].tmpCoef = LevelSums::mark; });
  const int assertion_level = levels.assertionLevel();
  if (assertion_level < S.root_level) return false;
  S.cancelUntil(assertion_level);

  PseudoBool* pb = PseudoBool::build(S, collected.size(), static_cast<int>(degree),
                                     static_cast<int>(S.nPBLearnt) + S.pb_learnts.size());
  pb->learnt_ = true;
  PBTerm* const terms = pb->terms();
  for (int i = 0; i < pb->nterms; i++) {
    new (&terms[i]) PBTerm(collected[i]);
    pb->addToLhsMax(terms[i].coeff());
  }

  if (pb->isClause()) {
    [[maybe_unused]] const bool asserted = convertPBtoCNF(S, pb, c_out, true);
    assert(asserted);
    PseudoBool::destroy(S, pb);
    return true;
  }
  out = pb;

  pb->amax = terms[0].coeff();
  pb->singlepos = 0;
  while (pb->singlepos < pb->nterms && terms[pb->singlepos].coeff() != 1) pb->singlepos++;
  pb->assertAndWatch(S, open_sum, assertion_level);
  for (int i = 0; i < pb->nterms; i++) {
    const int share = terms[i].coeff() / pb->rhs_goal; // whole: 1 for a saturated term, else 0
    S.varBumpActivity(terms[i].lit, share);
  }
  assert(pb->amaxpos == -1 || pb->watchsum >= degree + pb->amax);
  assert(pb->singlepos < pb->nterms || terms[pb->nterms - 1].coeff() > 1);
  return true;
}
