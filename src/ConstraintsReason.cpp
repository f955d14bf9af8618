/// \file
/// Reasons: what a constraint says to an implied literal or a conflict, and how a pseudo-Boolean
/// one enters what is being learnt (cutting planes: J. N. Hooker, Generalized Resolution and
/// Cutting Planes, 1988; in conflict analysis: D. Chai and A. Kuehlmann, A Fast Pseudo-Boolean
/// Constraint Solver, 2003).
#include <bit>

#include "Constraints.h"
#include "Parameters.h"
#include "Solver.h"

using namespace quillon;

bool Clause::calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& /*out_not_reason*/) {
  const Lit* const data = lits();
  assert(p == lit_Undef || p == data[0]);
  for (int i = p == lit_Undef ? 0 : 1; i < size(); i++) {
    assert(S.value(data[i]) == l_False);
    out_reason.push(~data[i]);
  }
  if (learnt()) S.claBumpActivity(this);
  return false;
}

bool PseudoBool::calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& out_not_reason) {
  if (learnt_) S.pbBumpActivity(this);
  const bool merging = S.mergesReasonOf(p);
  if (merging) merge(S, p, out_not_reason);
  // In one analysis, what is false now was false in an earlier reason, too.
  if (!explained) {
    explained = true;
    S.explained.push(this);
    collectFalse(S, out_reason);
  }
  return merging;
}

/// Adds the constraint to the accumulator, as the conflict or so that p cancels there against ~p;
/// appends the literals new to it to `entered`.
void PseudoBool::merge(Solver& S, Lit p, vec<Lit>& entered) const {
  const int64 mul2 = p == lit_Undef ? 1 : S.accumulator.coeff(var(p));
  S.accumulator.degree += mul2 * rhs_max;
  if (S.accumulator.degree < 0 || S.accumulator.degree > learning_bounds::merged_degree)
    S.learning = false;
  for (int i = 0; i < nterms && S.learning; i++) {
    const PBTerm& term = terms()[i];
    if (term.lit == p) {
      S.accumulator.degree -= mul2 * term.coeff();
    } else if (UpdateLearned(S, mul2, term.lit, term.coeff())) {
      entered.push(term.lit);
    }
  }
}

bool PseudoBool::UpdateLearned(Solver& S, int64 mul2, Lit lit, int coeff) {
  // clang-format off
  assert(mul2 > 0 && coeff>0);
  // clang-format on
  const Accumulator::Added added = S.accumulator.add(lit, mul2 * coeff);
  if (added.coeff > learning_bounds::merged_coefficient) S.learning = false;
  return added.entered;
}

/// Appends the complements of the false literals. (p itself, if one is explained, is true or, in
/// the course of the analysis, unassigned.)
void PseudoBool::collectFalse(const Solver& S, vec<Lit>& out) const {
  const PBTerm* const term = terms();
  Lit* end = out.room(nterms);
  const auto pushIfFalse = [&](int k) { // without a branch, which nobody could predict
    *end = ~term[k].lit;
    end += S.value(term[k].lit) == l_False ? 1 : 0;
  };
  // What has been false since before the last propagated literal is not watched.
  if (S.trail.size() <= S.propagated) {
    const int words = markWords(nterms);
    for (int w = 0; w < words; w++)
      for (MarkWord open = ~watched()[w]; open != 0; open &= open - 1)
        pushIfFalse(w * word_bits + std::countr_zero(open));
  } else {
    for (int i = 0; i < nterms; i++) pushIfFalse(i);
  }
  out.pushedUpTo(end);
}
