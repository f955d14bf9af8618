/// \file
/// Constraints looked at from outside the search: held against a model, and printed.
#include "Constraints.h"
#include "Solver.h"

bool Clause::checkModel(const Solver& S) const {
  for (int i = 0; i < size(); i++)
    if (S.model[var(lits()[i])] != sign(lits()[i])) return true;
  return false;
}

bool PseudoBool::checkModel(const Solver& S) const {
  if (rhs_max == 0 || rhs_goal <= 0) return true;
  int64 sum = 0;
  for (int i = 0; i < nterms; i++) {
    if (S.model[var(terms()[i].lit)] == sign(terms()[i].lit)) continue;
    sum += terms()[i].coeff();
    if (sum >= rhs_goal) return true;
  }
  return false;
}

void PseudoBool::printWatch(const Solver& S, const char* msg) const {
  std::printf("%-*d%s(C%d)Watch: ", 3 * S.decisionLevel() + 3, S.decisionLevel(), msg,
              constraintnum);
  for (int i = 0; i < nterms; i++)
    if (is_watched(i)) std::printf("%sx%d ", sign(terms()[i].lit) ? "" : "~", var(terms()[i].lit));
  std::printf(" w=%d amax=%d v1= v2=\n", watchsum, amax);
}

void PseudoBool::printAssignment(const Solver& S, const char* /*msg*/) const {
  for (int i = 0; i < nterms; i++) {
    const PBTerm& term = terms()[i];
    const lbool value = S.value(term.lit);
    std::printf("+ %d* ", term.coeff());
    std::printf("%sx%d%s (@%d)%s", sign(term.lit) ? "~" : "", var(term.lit),
                value == l_True    ? "/T"
                : value == l_False ? "/F"
                                   : "/U",
                S.level[var(term.lit)],
                is_watched(i)       ? "**"
                : is_fakewatched(i) ? "*"
                                    : "");
  }
  std::printf(" >= %d - w = %d\n\n", rhs_goal, watchsum);
}
