/// \file
/// What a proof claims in the end.
#include "Checker.h"

#include "Refusal.h"

#include <algorithm>

namespace checker {

/// The cost of the assignment that makes `literals` true, by the problem as it was given. Throws a
/// Refusal unless these alone satisfy every row and decide every variable of the objective.
Integer Checker::evaluate(const std::vector<Lit>& literals) {
  std::vector<char> is_true(2 * problem.names.size());
  for (const Lit l : literals) {
    is_true[l.index()] = 1;
    if (is_true[(~l).index()] != 0)
      throw Refusal("the solution has " + problem.names.of(l.variable()) + " and its negation");
  }
  const auto sum = [&is_true](const Row& row) {
    Integer result = -row.degree;
    for (const Term& t : row.terms)
      if (is_true[t.literal.index()] != 0) result += t.coefficient;
    return result;
  };
  for (std::size_t i = 0; i < problem.rows.size(); i++)
    if (sum(problem.rows[i]).sign() < 0)
      throw Refusal("constraint " + std::to_string(i + 1) + " of the problem is not satisfied");
  if (!problem.objective) return 0;
  for (const Term& t : problem.objective->terms)
    if (is_true[t.literal.index()] == 0 && is_true[(~t.literal).index()] == 0)
      throw Refusal("the solution has no value for " + problem.names.of(t.literal.variable()) +
                    ", which is in the objective");
  return sum(*problem.objective);
}

/// "The current objective is at least `value`."
Row Checker::atLeast(const Integer& value) const {
  Row row = *objective;
  row.degree += value;
  return row;
}

void Checker::output() {
  if (!syntax.takes("NONE")) throw Refusal("'output NONE' expected; nothing else is supported");
  syntax.finish();
}

void Checker::conclusion() {
  syntax.skipEmpty();
  if (!syntax.takes("conclusion")) throw Refusal("'conclusion' expected");
  const std::string what = syntax.word();
  if (what == "NONE") {
    syntax.finish();
    verdict.kind = Verdict::Kind::none;
  } else if (what == "SAT") {
    concludeSatisfiable();
  } else if (what == "UNSAT") {
    concludeUnsatisfiable();
  } else if (what == "BOUNDS") {
    concludeBounds();
  } else {
    throw Refusal("unknown conclusion '" + what.substr(0, 40) + "'");
  }
  syntax.skipEmpty();
  for (const char* const part : {"end", "pseudo-Boolean", "proof"})
    if (!syntax.takes(part)) throw Refusal("'end pseudo-Boolean proof' expected");
  syntax.finish();
}

/// `conclusion SAT : l l ...`: a solution of the problem, given here or logged.
void Checker::concludeSatisfiable() {
  if (syntax.another()) {
    evaluate(syntax.literals());
    syntax.finish();
  } else if (!has_solution) {
    throw Refusal("no solution has been logged");
  }
  verdict.kind = Verdict::Kind::satisfiable;
}

/// `conclusion UNSAT : id`: a contradiction, and by (*) no solution; not so once solutions have
/// been excluded by `soli`.
void Checker::concludeUnsatisfiable() {
  Row falsum;
  falsum.degree = 1;
  if (!isProven(falsum)) throw Refusal("there is no contradiction");
  syntax.finish();
  if (has_solution) throw Refusal("a solution has been logged");
  verdict.kind = Verdict::Kind::unsatisfiable;
}

/// Whether a row implies `claim`: the one named behind ":", if any, or else some row.
bool Checker::isProven(const Row& claim) {
  if (syntax.lexer.kind() == Lexer::Kind::colon) {
    syntax.lexer.take();
    if (atEntry()) return implication.implies(readEntry().row, claim);
  }
  if (claim.isTrivial()) return true;
  return std::any_of(database.all().rbegin(), database.all().rend(),
                     [&](const Entry& e) { return implication.implies(e.row, claim); });
}

/// `conclusion BOUNDS L : id U : l l ...`: a row that implies "objective at least L", and a
/// solution of value U at most, given here or logged. L may not exceed the value of any logged
/// solution: (*) says nothing there.
void Checker::concludeBounds() {
  if (!objective) throw Refusal("bounds of a problem without an objective");
  Row claim;
  claim.degree = 1;
  if (!syntax.takes("INF")) {
    verdict.lower = syntax.number();
    claim = atLeast(*verdict.lower);
  }
  if (!isProven(claim)) throw Refusal("the lower bound is not implied");
  if (best && (!verdict.lower || *verdict.lower > *best))
    throw Refusal("the lower bound is above the value " + best->text() + " of a logged solution");

  if (!syntax.takes("INF")) verdict.upper = syntax.number();
  std::optional<Integer> known = best;
  if (syntax.another()) {
    const Integer value = evaluate(syntax.literals());
    if (!known || value < *known) known = value;
    syntax.finish();
  }
  if (verdict.upper && (!known || *known > *verdict.upper))
    throw Refusal("no solution with a value of at most " + verdict.upper->text() + " is known");
  if (known && (!verdict.lower || *verdict.lower > *known))
    throw Refusal("the lower bound is above the value " + known->text() + " of a solution");
  verdict.kind = Verdict::Kind::bounds;
}

} // namespace checker
