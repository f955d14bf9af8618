/// \file
/// Propagation: the loops over the watch lists and the steps of clauses and pseudo-Boolean
/// constraints, with watched sums and fake watches; and the reasons that the latter give.
#include <bit>

#include "Constraints.h"
#include "LevelSums.h"
#include "Prefetch.h"
#include "Solver.h"

// What a visit needs is in this file, so that the compiler can make one loop of it.

namespace {

constexpr int guard_watch_sum = 2;

/// Bound on the degree while a constraint is being learnt; beyond it the learning is given up.
constexpr int64 merged_degree_limit = 10000;

} // namespace

// ------------------------------------------------------------------------------------------------
// Watches

void PseudoBool::setWatch(Solver& S, int iterm, bool /*trail*/) {
  if (!is_watched(iterm)) startWatch(S, iterm);
}

inline void PseudoBool::startWatch(Solver& S, int iterm) {
  const PBTerm term = terms()[iterm];
  MarkWord* const mark = watched() + iterm / word_bits;
  MarkWord* const fake = mark + markWords(nterms);
  *mark |= bit(iterm);
  if ((*fake & bit(iterm)) != 0) { // the entry stays in place and counts from now on
    *fake &= ~bit(iterm);
  } else {
    S.pb_watches[index(~term.lit)].push(S.pool, pbWatchTerm{this, iterm});
  }
  const int64 sum = static_cast<int64>(watchsum) + term.coeff();
  if (sum > INT_MAX) numericOverflow(guard_watch_sum);
  watchsum = static_cast<int>(sum);
}

void PseudoBool::setfakeWatch(Solver& S, int iterm) {
  const PBTerm& term = terms()[iterm];
  assert(S.value(term.lit) == l_False);
  assert(!is_watched(iterm));
  if (is_fakewatched(iterm)) return;
  fakewatched()[iterm / word_bits] |= bit(iterm);
  S.pb_watches[index(~term.lit)].push(S.pool, pbWatchTerm{this, iterm});
}

void PseudoBool::unwatchTerm(int index) {
  if (is_watched(index)) watchsum -= terms()[index].coeff();
  watched()[index / word_bits] &= ~bit(index);
  fakewatched()[index / word_bits] &= ~bit(index);
}

void PseudoBool::assertAndWatch(Solver& S, int64 open_sum, int assertion_level) {
  const int64 goal = rhs_goal;
  amaxpos = -1;
  for (int i = 0; i < nterms; i++) {
    const PBTerm& term = terms()[i];
    if (amaxpos == -1 && S.value(term.lit) == l_Undef) {
      if (open_sum < goal + term.coeff()) {
        [[maybe_unused]] const bool asserted = S.enqueue(term.lit, this, term.coeff());
        assert(asserted);
      } else {
        amaxpos = i;
        amax = term.coeff();
      }
    }
    if (S.value(term.lit) != l_False) {
      if (amaxpos == -1 || watchsum < amax + goal) setWatch(S, i, false);
    } else if (S.level[var(term.lit)] == assertion_level ||
               S.accumulator[var(term.lit)].tmpCoef == LevelSums::mark) {
      setfakeWatch(S, i);
    }
    assert(!is_watched(i) || S.value(term.lit) != l_False);
  }
}

// ------------------------------------------------------------------------------------------------
// Propagation

bool PseudoBool::propagate(Solver& S, Lit p, bool& /*keep_watch*/) {
  int p_pos = 0;
  while (terms()[p_pos].lit != ~p) p_pos++;
  return falsified(S, p_pos);
}

bool PseudoBool::falsified(Solver& S, int iterm) {
  S.stats.pb_propagations++;
  const PBTerm* const term = terms();
  assert(S.value(term[iterm].lit) == l_False);
  unwatchTerm(iterm);
  const int64 G = rhs_max;
  const int64 safe_sum = G + amax;
  const int words = markWords(nterms);
  MarkWord* const marks = watched();

  // Watch more, in term order, until the sum is safe again.
  for (int w = 0; w < words && watchsum < safe_sum; w++) {
    for (MarkWord open = ~marks[w]; open != 0; open &= open - 1) {
      const int i = w * word_bits + std::countr_zero(open);
      if (S.value(term[i].lit) == l_False) continue;
      startWatch(S, i);
      if (watchsum >= safe_sum) return true;
    }
  }
  if (watchsum < rhs_goal) {
    setWatch(S, iterm, false);
    return false;
  }
  if (watchsum >= safe_sum) return true;

  // Now all terms that are not false are watched. Those too large to be missed are implied; the
  // terms are in order of size. A watched false term is one whose falsification is still in the
  // queue: a conflict.
  for (int w = 0; w < words; w++) {
    for (MarkWord rest = marks[w]; rest != 0; rest &= rest - 1) {
      const int i = w * word_bits + std::countr_zero(rest);
      if (i >= nterms || watchsum >= term[i].coeff() + G) {
        w = words;
        break;
      }
      if (!S.enqueue(term[i].lit, this, term[i].coeff())) {
        setWatch(S, iterm, false);
        return false;
      }
    }
  }
  if (S.decisionLevel() > 0) S.trail_pb.last() = 1;
  setfakeWatch(S, iterm);
  assert(watchsum >= G);
  return true;
}

bool Clause::propagate(Solver& S, Lit p, bool& keep_watch) {
  S.stats.propagations++;
  Lit* const data = lits();
  const Lit false_lit = ~p;
  if (data[0] == false_lit) {
    data[0] = data[1];
    data[1] = false_lit;
  }
  assert(data[1] == false_lit);
  if (S.value(data[0]) == l_True) {
    keep_watch = true;
    return true;
  }
  const int n = size();
  for (int k = 2; k < n; k++) {
    if (S.value(data[k]) != l_False) {
      data[1] = data[k];
      data[k] = false_lit;
      S.watches[index(~data[1])].push(S.pool, this);
      return true;
    }
  }
  keep_watch = true;
  return S.enqueue(data[0], this, 1);
}

// ------------------------------------------------------------------------------------------------
// The loops

Constr* Solver::propagate() {
  while (propQ.size() > 0) {
    const Lit p = propQ.dequeue();
    if (propQ.size() > 0) {
      prefetch(watches[index(propQ.head())].begin());
      prefetch(pb_watches[index(propQ.head())].begin());
    }
    Constr* confl = propagatePBs(p);
    if (confl == nullptr) confl = propagateClauses(p);
    if (confl != nullptr) {
      propagated = trail.size() - propQ.size() - 1;
      propQ.clear();
      return confl;
    }
  }
  return nullptr;
}

/// Visits the pseudo-Boolean constraints that watch ~p; the one in conflict, or null. The list is
/// rebuilt in place: each constraint puts back, in its turn, the one entry it may still need.
PseudoBool* Solver::propagatePBs(Lit p) {
  WatchList<pbWatchTerm>& list = pb_watches[index(p)];
  const pbWatchTerm* const visited = list.begin();
  const int n = list.size();
  list.clear(); // the storage stays
  stats.inspects += n;
  for (int i = 0; i < n; i++) {
    PseudoBool* const c = static_cast<PseudoBool*>(visited[i].pb);
    const bool fine = c->falsified(*this, visited[i].index);
    assert(list.size() <= i + 1);
    if (fine) continue;
    stats.inspects -= n - i - 1;
    for (int k = i + 1; k < n; k++) list.push(pool, pbWatchTerm(visited[k]));
    return c;
  }
  return nullptr;
}

/// Visits the clauses that watch ~p; the one in conflict, or null. Those that have found another
/// watch drop out of the list.
Clause* Solver::propagateClauses(Lit p) {
  WatchList<Constr*>& ws = watches[index(p)];
  Clause* confl = nullptr;
  int i = 0;
  int j = 0;
  while (confl == nullptr && i < ws.size()) {
    if (i + 2 < ws.size()) prefetch(ws[i + 2]);
    Clause* const c = static_cast<Clause*>(ws[i]);
    bool keep_watch = false;
    if (!c->propagate(*this, p, keep_watch)) confl = c;
    if (keep_watch) ws[j++] = c;
    i++;
  }
  while (i < ws.size()) ws[j++] = ws[i++];
  ws.shrink(i - j);
  return confl;
}

// ------------------------------------------------------------------------------------------------
// Reasons

bool PseudoBool::calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& out_not_reason) {
  if (learnt_) S.pbBumpActivity(this);
  char& learning = S.trail_pb.last();
  const bool is_conflict = p == lit_Undef;
  int64 mul2 = 0; // the weight with which this constraint enters the learnt one
  if (learning == 1 && (is_conflict || S.PB_qualified)) {
    mul2 = is_conflict ? 1 : S.accumulator[var(p)].tmpCoef;
    S.tmpGoal += mul2 * rhs_max;
    if (S.tmpGoal < 0 || S.tmpGoal > merged_degree_limit) learning = 0;
  }
  const PBTerm* const term = terms();
  int i = 0;
  if (mul2 != 0) {
    for (; i < nterms && learning == 1; i++) {
      const Lit lit = term[i].lit;
      if (lit == p) {
        S.tmpGoal -= mul2 * term[i].coeff();
        continue;
      }
      if (S.accumulator[var(lit)].inLearnedPB == 0) out_not_reason.push(lit);
      UpdateLearned(S, mul2, lit, term[i].coeff());
      if (S.value(lit) == l_False) out_reason.push(~lit);
    }
  }
  // In one analysis, what is false now was false in an earlier reason, too.
  if (explained) return true;
  explained = true;
  S.explained.push(this);
  // The false ones of the other terms; p itself is true or, being explained, unassigned. What has
  // been false since before the last propagated literal is not watched.
  Lit* end = out_reason.room(nterms - i);
  const auto pushIfFalse = [&](int k) { // without a branch, which nobody could predict
    *end = ~term[k].lit;
    end += S.value(term[k].lit) == l_False ? 1 : 0;
  };
  if (i == 0 && S.trail.size() <= S.propagated) {
    const int words = markWords(nterms);
    for (int w = 0; w < words; w++)
      for (MarkWord open = ~watched()[w]; open != 0; open &= open - 1)
        pushIfFalse(w * word_bits + std::countr_zero(open));
  } else {
    for (; i < nterms; i++) pushIfFalse(i);
  }
  out_reason.pushedUpTo(end);
  return true;
}

// ------------------------------------------------------------------------------------------------
// The rest of the interface

void PseudoBool::remove(Solver& S, bool just_dealloc) {
  if (!just_dealloc) {
    for (int i = 0; i < nterms; i++)
      if (is_watched(i) || is_fakewatched(i))
        removeWatchTerm(S.pb_watches[index(~terms()[i].lit)], this);
  }
  destroy(S, this);
}

void PseudoBool::leaveLists(Solver& S) {
  for (int i = 0; i < nterms; i++)
    if (is_watched(i) || is_fakewatched(i)) S.leaveList(~terms()[i].lit);
  constraintnum = num_leaving;
}

bool PseudoBool::simplify(Solver& S) {
  assert(S.decisionLevel() == 0);
  int64 sum = 0;
  for (int i = 0; i < nterms; i++) {
    if (S.value(terms()[i].lit) != l_True) continue;
    sum += terms()[i].coeff();
    if (sum >= rhs_goal) return true;
  }
  return false;
}

void PseudoBool::undo(Solver&) {}

bool PseudoBool::locked(const Solver& S) const {
  for (int i = 0; i < nterms; i++) {
    const Lit lit = terms()[i].lit;
    if (S.value(lit) == l_True && S.reason[var(lit)] == this) return true;
    if (S.value(lit) == l_Undef) return false;
  }
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
