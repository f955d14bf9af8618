/// \file
/// Storing what a conflict has taught, and asserting it.
#include "Solver.h"

void Solver::store(Clause* c) {
  learnts.push(c);
  claDecayActivity();
}

/// Stores the learnt clause after the backjump and asserts its first literal, which is unassigned;
/// all others are false.
void Solver::record(const vec<Lit>& clause) {
  assert(clause.size() != 0);
  Clause* c = nullptr;
  [[maybe_unused]] const bool built = Clause_new(*this, clause, true, c);
  assert(built);
  [[maybe_unused]] const bool asserted = enqueue(clause[0], c, 1);
  assert(asserted);
  if (c != nullptr) learnts.push(c);
}

/// Stores the pseudo-Boolean constraint in the accumulator, whose literals `constraint` lists, and
/// the learnt clause with its backjump level `bt`. True if either cannot be satisfied at the root.
bool Solver::record_PB(const vec<Lit>& constraint, const vec<Lit>& clause, int bt) {
  assert(constraint.size() != 0);
  PseudoBool* pb = nullptr;
  Clause* c = nullptr;
  if (!PseudoBool_add(*this, constraint, pb, c)) return true;
  if (pb != nullptr) {
    stats.pb_learnts++;
    pb_learnts.push(pb);
    pbDecayActivity();
  }
  if (c != nullptr) store(c);

  // The constraint has jumped back to where it asserts; that may be below the clause's level.
  const bool do_imply = decisionLevel() > bt;
  if (decisionLevel() > max(bt, root_level)) {
    propQ.clear(); // holds what is undone now; at the root it must stay
    cancelUntil(max(bt, root_level));
  }
  Clause* cc = nullptr;
  // The constraint may hold the asserting literal itself and fix it at level 0.
  bool possible = Clause_add(*this, clause, cc);
  if (possible && do_imply) possible = enqueue(clause[0], cc, 1);
  if (cc != nullptr) store(cc);
  return !possible;
}
