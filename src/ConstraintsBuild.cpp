/// \file
/// Construction of pseudo-Boolean problem constraints in normal form, and the conversion of
/// clause-like ones.
#include "Constraints.h"
#include "Prefetch.h"
#include "Solver.h"
#include "Sort.h"

using namespace quillon;

PseudoBool::PseudoBool(int n, int degree, int num)
    : rhs_goal(degree), rhs_max(degree), lhs_max(0), overflow(false), watchsum(0), amaxpos(-1),
      amax(0), singlepos(0), nterms(n), activity_(0), learnt_(false) {
  constraintnum = num;
  clearMarks();
}

PseudoBool* PseudoBool::build(Solver& S, int n, int degree, int num) {
  static_assert(sizeof(PseudoBool) % alignof(MarkWord) == 0 &&
                sizeof(PBTerm) % alignof(MarkWord) == 0);
  return new (S.pool.take(bytes(n))) PseudoBool(n, degree, num);
}

void PseudoBool::clearMarks() {
  const int words = markWords(nterms);
  for (int w = 0; w < words; w++) {
    new (watched() + w) MarkWord(0);
    new (fakewatched() + w) MarkWord(0);
  }
  if (nterms % word_bits != 0) watched()[words - 1] = ~(bit(nterms) - 1);
}

void PseudoBool::destroy(Solver& S, PseudoBool* pb) {
  const size_t size_in_bytes = pb->bytes();
  pb->~PseudoBool();
  S.pool.give(pb, size_in_bytes);
}

void PseudoBool::addToLhsMax(int coeff) {
  const int64 sum = static_cast<int64>(lhs_max) + coeff;
  if (sum > INT_MAX) {
    overflow = true;
  } else {
    lhs_max = static_cast<int>(sum);
  }
}

bool PseudoBool::isClause() const {
  assert(nterms > 0);
  return rhs_goal == 1 ||
         (terms()[0].coeff() == rhs_goal && terms()[nterms - 1].coeff() == rhs_goal);
}

namespace {

/// What a problem constraint may not leave: the coefficients and the degree are 32-bit.
int fitted(int64 number, OverflowGuard guard) {
  if (number < INT_MIN || number > INT_MAX) numericOverflow(guard);
  return static_cast<int>(number);
}

/// Sorts as `sort` does. A short array is sorted without branches on what it holds, which no
/// processor could foretell.
void sortTerms(PBTerm* terms, int n) {
  if (n > selection_sort_limit) {
    sort(terms, n, LessThan_default<PBTerm>());
    return;
  }
  for (int i = 0; i < n - 1; i++) {
    std::uint64_t first = 0; // the largest coefficient, and of its places the first
    for (int j = i; j < n; j++) {
      const std::uint64_t coeff = static_cast<std::uint32_t>(terms[j].coeff());
      first = max(first, coeff << 32 | static_cast<std::uint32_t>(n - j));
    }
    std::swap(terms[i], terms[n - static_cast<int>(first & UINT32_MAX)]);
  }
}

} // namespace

bool PseudoBool_new(Solver& S, int pbgoal, int pbtype, vec<vnumcoef>& pbterms,
                    [[maybe_unused]] int v_p, [[maybe_unused]] int v_n, PseudoBool*& out,
                    Clause*& c_out, bool /*learnt*/) {
  out = nullptr;
  if (pbtype == pb_at_most) {
    for (int i = 0; i < pbterms.size(); i++)
      pbterms[i].coeff = fitted(-static_cast<int64>(pbterms[i].coeff), OverflowGuard::construction);
    pbgoal = fitted(-static_cast<int64>(pbgoal), OverflowGuard::construction);
  }
  assert(S.decisionLevel() == 0);
  assert(v_p < 0 && v_n < 0);
  if (pbterms.size() == 0) return pbgoal <= 0;

  PseudoBool* const pb = PseudoBool::build(S, pbterms.size(), pbgoal, S.constrs.size());
  PBTerm* const terms = pb->terms();
  assert(pb->nterms > 0);
  int64 goal = pbgoal;
  for (int i = 0; i < pb->nterms; i++) {
    const int vnum = pbterms[i].vnum;
    assert(vnum != 0);
    const int coeff = pbterms[i].coeff;
    const bool flipped = coeff < 0; // a*x = a + |a|*~x
    const Lit lit(std::abs(vnum) - 1, (vnum < 0) != flipped);
    const int size = fitted(std::abs(static_cast<int64>(coeff)), OverflowGuard::construction);
    goal += flipped ? size : 0;
    pb->addToLhsMax(size);
    new (&terms[i]) PBTerm(size, lit);
    prefetch(&S.pb_watches[index(~lit)]); // for what follows
  }
  pb->rhs_goal = fitted(goal, OverflowGuard::construction);
  pb->rhs_max = pb->rhs_goal;
  sortTerms(terms, pb->nterms);
  // Has the memory get the ends of the lists ready in which the first watches are going to be
  // entered; otherwise each of them would be waited for in turn. (Not a function: g++ 12 takes one
  // that does nothing else for one that does nothing.)
  int64 unwatched = static_cast<int64>(pb->rhs_max) + terms[0].coeff();
  for (int i = 0; i < pb->nterms && unwatched > 0; i++) {
    const WatchList<pbWatchTerm>& list = S.pb_watches[index(~terms[i].lit)];
    prefetch(list.begin() + list.size());
    unwatched -= terms[i].coeff();
  }

  if (pb->isClause()) {
    PseudoBool* clause_like = pb;
    const bool ret = convertPBtoCNF(S, clause_like, c_out, false);
    PseudoBool::destroy(S, pb);
    return ret;
  }
  out = pb;
  return pb->chooseFirstWatches(S);
}

bool PseudoBool::chooseFirstWatches(Solver& S) {
  const PBTerm* const term = terms();
  amax = term[0].coeff();
  fitted(static_cast<int64>(rhs_max) + amax, OverflowGuard::bound);
  amaxpos = -1;
  singlepos = nterms;
  watchsum = 0;
  if (rhs_max == 0) return true; // holds under every assignment

  // Literals false already are watched like any other: their falsification still waits in the
  // queue and takes them out again when it is propagated.
  int64 bound = static_cast<int64>(rhs_max) + amax;
  for (int i = 0; i < nterms; i++) {
    if (amaxpos == -1 && S.value(term[i].lit) == l_Undef) {
      amaxpos = i;
      bound = static_cast<int64>(rhs_max) + term[i].coeff();
    }
    if (amaxpos == -1 || watchsum < bound) setWatch(S, i, false);
    if (watchsum >= bound) break;
  }
  if (watchsum < rhs_goal) return false;
  if (amaxpos == -1) return true;
  for (int i = 0; i < nterms; i++) {
    if (S.value(term[i].lit) != l_Undef) continue;
    if (watchsum >= static_cast<int64>(rhs_goal) + term[i].coeff()) return true;
    if (!S.enqueue(term[i].lit, nullptr, 1)) return false;
  }
  return true;
}

bool convertPBtoCNF(Solver& S, PseudoBool*& pb, Clause*& c_out, bool learnt) {
  assert(pb != nullptr && pb->nterms > 0);
  const PBTerm* const terms = pb->terms();
  const int n = pb->nterms;
  if (n == 1) return S.enqueue(terms[0].lit, nullptr, 1);

  int unassigned_i = -1; // the last unassigned literal
  bool unit = true;      // at most one is unassigned
  vec<Lit> lits;
  for (int i = 0; i < n; i++) {
    const Lit lit = terms[i].lit;
    lits.push(lit);
    if (S.value(lit) == l_Undef) {
      if (unassigned_i != -1) unit = false;
      unassigned_i = i;
    } else if (S.value(lit) == l_True) {
      assert(!learnt);
      return true;
    }
  }
  if (unassigned_i > 0) std::swap(lits[0], lits[unassigned_i]);
  Clause* const c = Clause::build(S, static_cast<const Lit*>(lits), n, learnt);
  std::swap(lits[1], lits[c->highestLevel(S, 1)]); // the variables are bumped in this order
  Clause::finish(S, c, c->highestLevel(S, 1), lits);
  if (learnt) {
    const int assertion_level = S.level[var(lits[1])];
    if (assertion_level < S.decisionLevel()) S.cancelUntil(max(S.root_level, assertion_level));
  }
  c_out = c;
  return unit ? S.enqueue(lits[0], c, 1) : true;
}
