/// \file
/// Steps with something to be shown: redundance and updates of the objective, and their subproofs.
#include "Checker.h"

#include "Refusal.h"

namespace checker {

/// Whether a subproof begins here.
bool Checker::beginsSubproof() {
  if (!syntax.takes(syntax.hasLines() ? "begin" : "subproof")) return false;
  syntax.finishLine();
  return true;
}

/// ": witness", ": witness : subproof" or nothing, up to the end of the step or the begin of the
/// subproof. Whether there is one.
bool Checker::readWitness() {
  witness.set({});
  if (!syntax.another()) return false;
  if (beginsSubproof()) return true;
  witness.set(syntax.witness());
  if (!syntax.another()) return false;
  if (!beginsSubproof()) throw Refusal("a subproof expected");
  return true;
}

/// `red C : w`: every solution of D that falsifies C is a solution of D and C, and no dearer, once
/// w has been applied to it. Let s be a solution of D with f <= b, as (*) promises. If it satisfies
/// C, there is nothing to show; if not, s after w is the solution for (*): for each row R of D and
/// for C, "R after w" was shown to follow from D and the negation of C (goals; rows that w does not
/// touch need none), and so was f - (f after w) >= 0. (S. Gocht and J. Nordstrom, Certifying parity
/// reasoning efficiently using pseudo-Boolean proofs, 2021.)
void Checker::redundance() {
  const std::string own_label = std::move(label);
  label.clear();
  Row row = syntax.constraint();
  const bool has_subproof = readWitness();
  Duties duties;
  duties.of_rows = true;
  duties.begin = database.lastId();
  duties.goals.push_back(witness.applied(row));
  if (objective && witness.touches(*objective) != 0)
    duties.goals.push_back(witness.change(*objective, true));
  Entry negated;
  negated.row = negation(row);
  propagator.open();
  if (has_subproof) {
    add(negated.row, false);
    subproof(duties);
  } else {
    propagator.add(negated);
  }
  proveRest(duties, &negated.row);
  endSubproof(duties.begin);
  label = own_label;
  add(std::move(row), false);
}

/// `obju new f'` and `obju diff g` (f' = f + g): from now on f' is the objective. Goals are f' >= f
/// and f >= f', by core rows alone as the format has it. The second one, which holds for every
/// solution of D, is what keeps (*).
void Checker::objectiveUpdate() {
  if (!objective) throw Refusal("there is no objective");
  const bool is_difference = syntax.takes("diff");
  if (!is_difference && !syntax.takes("new")) throw Refusal("'new' or 'diff' expected");
  scratch.clear();
  scratch.add(syntax.objective(), 1);
  if (is_difference) scratch.add(*objective, 1);
  const Row next = scratch.row();
  const bool has_subproof = syntax.another();
  if (has_subproof && !beginsSubproof()) throw Refusal("a subproof expected");
  Duties duties;
  duties.begin = database.lastId();
  scratch.add(*objective, -1);
  duties.goals.push_back(scratch.row());
  scratch.multiply(-1);
  duties.goals.push_back(scratch.row());
  core_only = true;
  subproof_begin = duties.begin;
  propagator.open();
  if (has_subproof) subproof(duties);
  proveRest(duties, nullptr);
  endSubproof(duties.begin);
  core_only = false;
  objective = next;
}

/// Takes back what a subproof or the proof of a goal has added since `begin`.
void Checker::endSubproof(Id begin) {
  propagator.close();
  while (!database.empty() && database.newest().id > begin) database.remove(database.newest());
}

/// "qed", "qed : id" or, in version 2, "end" and "end id". Nothing if no end is here; otherwise
/// whether a contradiction is named.
std::optional<bool> Checker::readEnd() {
  if (!syntax.takes("qed") && !syntax.takes("end")) return {};
  while (syntax.atWord() && !atEntry()) syntax.word(); // what it ends
  if (syntax.lexer.kind() == Lexer::Kind::colon) syntax.lexer.take();
  bool is_named = false;
  if (atEntry()) {
    is_named = readEntry().row.isContradiction();
    if (!is_named) throw Refusal("the constraint is no contradiction");
  }
  syntax.finish();
  return is_named;
}

/// Steps up to the end of a subproof or goal, whether with a contradiction or what is a goal.
/// Whether a contradiction has been shown.
bool Checker::readSubproof(Duties* duties) {
  const Id begin = database.lastId();
  for (;;) {
    syntax.skipEmpty();
    label.clear();
    if (const std::optional<bool> end = readEnd()) return *end || isContradictedSince(begin);
    if (syntax.atWord() && syntax.lexer.word()[0] == '@') label = syntax.word();
    const std::string rule = syntax.word();
    if (rule == "proofgoal" && duties != nullptr)
      proofgoal(*duties);
    else if (!implicational(rule))
      throw Refusal("'" + rule.substr(0, 40) + "' cannot stand in a subproof");
  }
}

/// Whether one of the rows since `begin` is a contradiction, or all rows contradict each other by
/// unit propagation.
bool Checker::isContradictedSince(Id begin) {
  for (auto e = database.all().rbegin(); e != database.all().rend() && e->id > begin; ++e)
    if (e->row.isContradiction()) return true;
  return core_only ? small_propagation.contradicts(usableRows()) : propagator.conflicts();
}

/// The rows that may be used now.
std::vector<const Row*> Checker::usableRows() {
  std::vector<const Row*> rows;
  for (const Entry& e : database.all())
    if (isUsable(e)) rows.push_back(&e.row);
  return rows;
}

void Checker::subproof(Duties& duties) {
  in_subproof = true;
  subproof_begin = duties.begin;
  // If the premises contradict each other, everything follows from them.
  duties.all_proven = readSubproof(&duties);
  in_subproof = false;
}

/// "proofgoal #1" or "proofgoal 17": a proof that the goal follows, by deriving a contradiction
/// from its negation, which gets the next identifier.
void Checker::proofgoal(Duties& duties) {
  Row goal;
  if (atEntry()) {
    const Entry& entry = readEntry();
    if (!duties.of_rows || entry.id > duties.begin) throw Refusal("there is no such goal");
    goal = witness.applied(entry.row);
    duties.proven_rows.insert(entry.id);
  } else {
    const std::string name = syntax.word();
    std::size_t number = 0;
    while (number < duties.goals.size() && name != "#" + std::to_string(number + 1)) number++;
    if (number == duties.goals.size()) throw Refusal("there is no goal " + name.substr(0, 40));
    goal = duties.goals[number];
    duties.proven_goals.insert(number);
  }
  syntax.finishLine();
  const Id begin = database.lastId();
  propagator.open();
  add(negation(goal), false);
  if (!readSubproof(nullptr)) throw Refusal("no contradiction has been derived");
  endSubproof(begin);
}

/// Shows what has not been shown: all goals, and the rows that the witness touches.
void Checker::proveRest(const Duties& duties, const Row* premise) {
  if (duties.all_proven) return;
  for (std::size_t i = 0; i < duties.goals.size(); i++)
    if (!duties.proven_goals.contains(i) && !follows(duties.goals[i], nullptr, premise))
      throw Refusal("goal #" + std::to_string(i + 1) + " is not shown");
  if (!duties.of_rows || propagator.conflicts()) return;
  std::size_t left = 0; // of the variables in the rows that the witness touches
  for (const Image& image : witness.all()) left += database.usesOf(image.variable);
  for (auto e = database.all().rbegin(); e != database.all().rend() && left > 0; ++e) {
    const std::size_t touched = witness.touches(e->row);
    left -= touched;
    if (touched == 0 || e->id > duties.begin || duties.proven_rows.contains(e->id)) continue;
    if (!propagator.satisfies(witness.change(e->row, false)) &&
        !follows(witness.applied(e->row), &e->row, premise))
      throw Refusal("goal " + std::to_string(e->id) + " is not shown");
  }
}

/// Whether `goal` follows from the rows of the database at sight: from `source` or `premise` (null
/// if there is none) alone, by unit propagation, or from any other row alone.
bool Checker::follows(const Row& goal, const Row* source, const Row* premise) {
  if (goal.isTrivial()) return true;
  Entry negated;
  negated.row = negation(goal);
  const Propagator* const given = core_only ? nullptr : &propagator;
  if (core_only) {
    std::vector<const Row*> rows = usableRows();
    rows.push_back(&negated.row);
    if (small_propagation.contradicts(rows)) return true;
  } else {
    if (propagator.conflicts()) return true;
    if (source != nullptr && implication.implies(*source, goal, given)) return true;
    if (premise != nullptr && implication.implies(*premise, goal, given)) return true;
    propagator.open();
    propagator.add(negated);
    const bool contradicts = propagator.conflicts();
    propagator.close();
    if (contradicts) return true;
  }
  for (const Entry& e : database.all())
    if (isUsable(e) && implication.implies(e.row, goal, given)) return true;
  return false;
}

} // namespace checker
