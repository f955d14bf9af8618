/// \file
/// Installing a learnt pseudo-Boolean constraint.
#include "Constraints.h"
#include "LevelSums.h"
#include "Solver.h"
#include "Sort.h"

using namespace quillon;

bool PseudoBool_add(Solver& S, const vec<Lit>& first_vec, PseudoBool*& out, Clause*& c_out) {
  out = nullptr;
  c_out = nullptr;
  LevelSums& levels = S.levelSums;
  levels.start(S.root_level, S.decisionLevel());
  Accumulator& sum = S.accumulator;
  const int64 degree = sum.degree;
  assert(degree > 0 && degree <= INT_MAX);

  // The accumulator's terms are taken, each consumed so that a repeated one counts once.
  vec<PBTerm>& collected = S.collected;
  collected.clear();
  int64 lhs = 0;
  for (int i = 0; i < first_vec.size(); i++) {
    const Var v = var(first_vec[i]);
    if (!sum.contains(v)) continue;
    const Lit lit = sum.literal(v);
    const int64 coeff = std::min(sum.coeff(v), degree);
    assert(coeff > 0);
    sum.remove(v);
    lhs += coeff;
    collected.push(PBTerm(static_cast<int>(coeff), lit));
    if (S.value(lit) == l_False) levels.addFalse(S.level[v], coeff, v);
    levels.addOpen(S.value(lit) == l_Undef ? S.decisionLevel() + 1 : S.level[v], coeff);
  }
  if (lhs < degree) return false;
  sort(collected, LessThan_default<PBTerm>());

  // Jump back to the first level at which the constraint implies something, or if it is violated
  // there already to the one before. Violated by the facts of the root, it cannot be met at all.
  const int64 open_sum =
      levels.findAssertionLevel(S.decisionLevel(), lhs, degree, [&sum](Var v) { sum.mark(v); });
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
