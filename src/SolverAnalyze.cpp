/// \file
/// Conflict analysis: the walk from a conflict back to what is learnt from it.
#include "Solver.h"

using namespace quillon;

/// Walks the trail back from the conflict to the first unique implication point (J. P. Marques
/// Silva and K. A. Sakallah, GRASP, 1996; L. Zhang et al., Efficient Conflict Driven Learning in a
/// Boolean Satisfiability Solver, 2001), undoing it on the way. `out_learnt` receives the learnt
/// clause, its asserting literal first, and `out_btlevel` the level to jump back to. If a
/// pseudo-Boolean constraint has implied something at the current level the same walk resolves
/// another one by cutting planes; `out_PB_learnt` receives every literal that entered it, and if
/// `learning` holds afterwards the accumulator has one that asserts the first literal of the
/// clause.
void Solver::analyze(Constr* confl, vec<Lit>& out_learnt, vec<Lit>& out_PB_learnt,
                     int& out_btlevel) {
  analyze_seen.growTo(nVars(), 0);
  PB_qualified = false;
  learning = pbImpliedHere() && npbLimit != -1;
  if (learning) accumulator.clear();

  out_learnt.push(lit_Undef); // room for the asserting literal
  out_btlevel = 0;
  vec<Lit>& p_reason = analyze_reason;
  Lit p = lit_Undef;
  int pathC = 0; // marked variables of the current level that are still to be resolved
  do {
    assert(confl != nullptr);
    if (stop_signal != 0) learning = false; // the longest part of the work, of which nothing comes
    if (learning && PB_qualified) resolveOn(p);

    p_reason.clear();
    const bool merged = confl->calcReason(*this, p, p_reason, out_PB_learnt);
    for (int i = 0; i < p_reason.size(); i++) {
      const Lit q = p_reason[i];
      if (!merged && mergesReasonOf(p)) incrLearned(p, ~q, out_PB_learnt);
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
    if (learning && PB_qualified) accumulator.remove(var(p)); // has cancelled out

    do {
      p = trail.last();
      const Var x = var(p);
      confl = reason[x];
      PB_qualified =
          learning && accumulator.contains(x) && value(accumulator.literal(x)) == l_False;
      undoOne();
    } while (analyze_seen[var(p)] == 0);
    analyze_seen[var(p)] = 0;
    assert(!PB_qualified || accumulator.literal(var(p)) == ~p);
    pathC--;
  } while (pathC > 0);

  forgetExplained();
  out_learnt[0] = ~p;
  for (int i = 0; i < out_learnt.size(); i++) analyze_seen[var(out_learnt[i])] = 0;
  if (learning) multiplytmpLearned(p, 1); // saturates, and sees whether it asserts
}

/// Ends an analysis: every constraint gives full reasons again.
void Solver::forgetExplained() {
  for (int i = 0; i < explained.size(); i++) explained[i]->explained = false;
  explained.clear();
}

/// Scales the accumulator so that its literal ~p and p in its reason cancel when that is added with
/// the coefficient left for ~p.
void Solver::resolveOn(Lit p) {
  int64& own = accumulator.coeff(var(p));
  int64 mul1 = reason_coeff[var(p)];
  const int64 gcd = GCD(mul1, own);
  if (gcd != 1) {
    mul1 /= gcd;
    own /= gcd;
  }
  assert(mul1 > 0 && own > 0);
  multiplytmpLearned(p, mul1);
}

/// A scaling pass over the accumulator without the variable of p, see `Accumulator::scale`. Gives
/// learning up if nothing will come of it.
void Solver::multiplytmpLearned(Lit p, int64 mul) {
  const auto is_false = [this](Lit q) { return value(q) == l_False; };
  if (!accumulator.scale(var(p), mul, is_false)) learning = false;
}

/// Adds `lit` of a clause to the accumulator, weighted like the literal q being resolved; with q =
/// `lit_Undef` the clause is the conflict itself and starts the accumulator.
void Solver::incrLearned(Lit q, Lit lit, vec<Lit>& learnt_vec) {
  const bool is_conflict = q == lit_Undef;
  if (is_conflict) accumulator.degree = 1;
  const int64 amount = is_conflict ? 1 : accumulator.coeff(var(q));
  if (accumulator.add(lit, amount).entered) learnt_vec.push(lit);
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
