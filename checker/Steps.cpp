/// \file
/// The steps that stand by themselves.
#include "Checker.h"

#include "Refusal.h"

#include <algorithm>

namespace checker {

/// Steps whose result every solution of the database satisfies, and others that add nothing; these
/// keep (*) and may stand in subproofs. Whether `rule` is one.
bool Checker::implicational(const std::string& rule) {
  if (rule == "pol" || rule == "p")
    derive();
  else if (rule == "rup" || rule == "u")
    reverseUnitPropagation();
  else if (rule == "e")
    equal();
  else if (rule == "i")
    implied(false);
  else if (rule == "ia")
    implied(true);
  else if (rule == "del")
    deletion(0);
  else if (rule == "f")
    formula();
  else
    return false;
  return true;
}

bool Checker::step(const std::string& rule) {
  if (rule == "red")
    redundance();
  else if (rule == "delc")
    deletion(1);
  else if (rule == "deld")
    deletion(-1);
  else if (rule == "core")
    moveToCore();
  else if (rule == "sol")
    solution(false);
  else if (rule == "soli")
    solution(true);
  else if (rule == "obju")
    objectiveUpdate();
  else
    return false;
  return true;
}

/// `f N`: the problem has so many rows.
void Checker::formula() {
  if (syntax.atNumber()) {
    const Integer count = syntax.number();
    if (count != static_cast<std::int64_t>(problem.rows.size()))
      throw Refusal("the problem has " + std::to_string(problem.rows.size()) +
                    " constraints, not " + count.text().substr(0, 40));
  }
  syntax.finish();
}

/// `pol ...`: see Polish.
void Checker::derive() {
  add(polish.derive(syntax), false);
}

/// `rup C` or `rup C : id ...`: the database and the negation of C contradict each other by unit
/// propagation, so every solution of the database satisfies C. (E. Goldberg and Y. Novikov,
/// Verification of proofs of unsatisfiability for CNF formulas, 2003.)
void Checker::reverseUnitPropagation() {
  Row row = syntax.constraint();
  Entry negated;
  negated.row = negation(row);
  bool is_shown = false;
  if (syntax.another()) {
    const std::vector<const Row*> rows = readHints(negated.row);
    syntax.finish();
    is_shown = small_propagation.contradicts(rows);
  } else if (core_only) {
    std::vector<const Row*> rows = usableRows();
    rows.push_back(&negated.row);
    is_shown = small_propagation.contradicts(rows);
  } else {
    propagator.open();
    propagator.add(negated);
    is_shown = propagator.conflicts();
    propagator.close();
  }
  if (!is_shown) throw Refusal("unit propagation does not show the constraint");
  add(std::move(row), false);
}

/// Rows by their identifiers; "~" is the negation of what is to be shown, which takes part in any
/// case.
std::vector<const Row*> Checker::readHints(const Row& negated) {
  std::vector<const Row*> rows;
  bool has_negation = false;
  while (syntax.atWord()) {
    if (syntax.takes("~")) {
      rows.push_back(&negated);
      has_negation = true;
    } else {
      rows.push_back(&readEntry().row);
    }
  }
  if (!has_negation) rows.insert(rows.begin(), &negated);
  return rows;
}

/// `del id 1 2 ...`, `del range 1 3`, `del spec C`; `delc 1 2` and `deld 1 2`, which demand core
/// (1) and derived rows (-1). Fewer rows have more solutions: (*) holds. In a subproof the rows
/// live on unseen till its end, since the propagation has no other order of going back.
void Checker::deletion(int which) {
  std::vector<Entry*> entries;
  if (which == 0 && syntax.takes("range")) {
    const auto limit = [this] {
      const auto end = static_cast<std::int64_t>(database.lastId()) + 1;
      Integer id = syntax.number();
      if (id.sign() < 0) id += end;
      return static_cast<Id>(std::clamp(id, Integer(1), Integer(end)).value());
    };
    const Id begin = limit();
    const Id end = limit();
    for (Id id = begin; id < end; id++)
      if (Entry* const entry = database.find(id)) entries.push_back(entry);
  } else if (which == 0 && syntax.takes("spec")) {
    entries.push_back(database.findEqual(syntax.constraint()));
    if (entries.back() == nullptr) throw Refusal("there is no such constraint");
  } else {
    if (which == 0 && !syntax.takes("id")) throw Refusal("'id', 'range' or 'spec' expected");
    std::set<Id> seen;
    while (atEntry()) {
      Entry& entry = readEntry();
      if (!seen.insert(entry.id).second) throw Refusal("a constraint cannot be deleted twice");
      if (which != 0 && entry.is_core != (which > 0))
        throw Refusal(which > 0 ? "a constraint is not in the core"
                                : "a constraint is in the core");
      entries.push_back(&entry);
    }
  }
  if (syntax.another()) { // a witness for deletions from the core, whose purpose is not ours
    syntax.witness();
    if (syntax.another()) throw Refusal("subproofs of deletions are not supported");
  }
  for (Entry* const entry : entries) {
    if (!in_subproof)
      remove(*entry);
    else if (entry->id <= subproof_begin)
      throw Refusal("a subproof can only delete its own constraints");
  }
}

/// `core id 1 2 ...`, `core range 1 3`: says something about deletions only, see `objectiveUpdate`.
void Checker::moveToCore() {
  if (syntax.takes("range")) {
    const Integer begin = syntax.number();
    const Integer end = syntax.number();
    for (Id id = 1; id <= database.lastId(); id++)
      if (const auto i = static_cast<std::int64_t>(id); begin <= i && end > i)
        if (Entry* const entry = database.find(id)) entry->is_core = true;
  } else {
    if (!syntax.takes("id")) throw Refusal("'id' or 'range' expected");
    while (atEntry()) readEntry().is_core = true;
  }
  syntax.finish();
}

/// `sol l l ...` and `soli l l ...`, with a value behind ":" if one likes: a solution, which
/// together with what propagates from it satisfies all rows of the database; so the format has it.
/// What matters here is that it is a solution of the problem itself, evaluated there. `soli` makes
/// v of
/// (*) the value of it if that is less, and adds f <= v - 1. That keeps (*): what it says for b < v
/// is about solutions of D with f <= b <= v - 1 only.
void Checker::solution(bool improves) {
  const std::vector<Lit> literals = syntax.literals();
  std::optional<Integer> claimed;
  if (syntax.another()) {
    claimed = syntax.number();
    syntax.finish();
  }
  if (improves && !objective) throw Refusal("there is no objective that could be improved");
  propagator.open();
  for (const Lit l : literals) propagator.assume(l);
  if (propagator.conflicts()) throw Refusal("the literals contradict the constraints");
  std::vector<Lit> all;
  for (std::size_t v = 0; v < problem.names.size(); v++)
    for (const bool negated : {false, true})
      if (const Lit l(static_cast<Var>(v), negated); propagator.value(l) > 0) all.push_back(l);
  for (const Entry& e : database.all()) {
    Integer slack = -e.row.degree;
    for (const Term& t : e.row.terms)
      if (propagator.value(t.literal) > 0) slack += t.coefficient;
    if (slack.sign() < 0) throw Refusal("constraint " + std::to_string(e.id) + " is not satisfied");
  }
  propagator.close();
  const Integer value = evaluate(all);
  if (claimed && *claimed != value)
    throw Refusal("the value of the solution is " + value.text() + ", not " + claimed->text());
  has_solution = true;
  if (!best || value < *best) best = value;
  if (!improves) return;
  add(negation(atLeast(value)), true);
}

/// "C", and behind it perhaps the row that is meant.
Row Checker::readRowAndHint(Entry*& hint) {
  Row row = syntax.constraint();
  hint = nullptr;
  if (syntax.another()) {
    if (atEntry()) hint = &readEntry();
    syntax.finish();
  }
  return row;
}

/// `e C : id`: the row is C. A label names it from now on.
void Checker::equal() {
  Entry* entry = nullptr;
  const Row row = readRowAndHint(entry);
  if (entry == nullptr) entry = database.findEqual(row);
  if (entry == nullptr || !areEqual(entry->row, row))
    throw Refusal("the constraint is another one");
  if (!label.empty()) labels[label] = entry->id;
}

/// `i C : id` and `ia C : id`: the row (or some row) implies C, see Implication.
void Checker::implied(bool is_added) {
  Entry* entry = nullptr;
  Row row = readRowAndHint(entry);
  bool holds = row.isTrivial();
  if (entry != nullptr) {
    holds = implication.implies(entry->row, row);
  } else {
    for (auto e = database.all().rbegin(); e != database.all().rend() && !holds; ++e)
      holds = isUsable(*e) && implication.implies(e->row, row);
  }
  if (!holds) throw Refusal("the constraint is not implied");
  if (is_added) add(std::move(row), false);
}

} // namespace checker
