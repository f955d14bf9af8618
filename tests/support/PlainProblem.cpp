/// \file
/// Problems as rows of plain numbers, and the truth about small ones by trying all assignments.
#include "PlainProblem.h"

#include <algorithm>
#include <cassert>

namespace plain {

namespace {

std::string text(const Form& form) {
  std::string out;
  for (const Term& t : form)
    out += (t.coefficient < 0 ? "" : "+") + std::to_string(t.coefficient) + "*x" +
           std::to_string(t.variable) + " ";
  return out;
}

const char* text(Relation relation) {
  switch (relation) {
  case Relation::at_most:
    return "<=";
  case Relation::equal:
    return "=";
  case Relation::at_least:
    break;
  }
  return ">=";
}

Assignment assignments(const Problem& problem) {
  assert(problem.nvars <= 24);
  return Assignment{1} << problem.nvars;
}

} // namespace

std::string text(const Problem& problem) {
  std::string out;
  if (problem.objective)
    out = (problem.maximise ? "max: " : "min: ") + text(*problem.objective) + ";\n";
  for (const Row& row : problem.rows)
    out += text(row.form) + text(row.relation) + " " + std::to_string(row.bound) + ";\n";
  return out;
}

Form merged(const Form& form) {
  Form result;
  for (const Term& t : form) {
    const auto same = [&t](const Term& r) { return r.variable == t.variable; };
    const auto found = std::find_if(result.begin(), result.end(), same);
    if (found == result.end())
      result.push_back(t);
    else
      found->coefficient += t.coefficient;
  }
  std::erase_if(result, [](const Term& t) { return t.coefficient == 0; });
  return result;
}

Range rangeOf(const Form& form) {
  Range range;
  for (const Term& t : form) (t.coefficient < 0 ? range.low : range.high) += t.coefficient;
  return range;
}

Int valueOf(const Form& form, Assignment assignment) {
  Int sum = 0;
  for (const Term& t : form)
    if ((assignment >> t.variable & 1) != 0) sum += t.coefficient;
  return sum;
}

bool holds(const Problem& problem, Assignment assignment) {
  return std::all_of(problem.rows.begin(), problem.rows.end(), [assignment](const Row& row) {
    const Int sum = valueOf(row.form, assignment);
    return (row.relation == Relation::at_most || sum >= row.bound) &&
           (row.relation == Relation::at_least || sum <= row.bound);
  });
}

bool satisfiable(const Problem& problem, const Assumptions& assumptions) {
  for (Assignment a = 0; a < assignments(problem); a++)
    if (assumptions.hold(a) && holds(problem, a)) return true;
  return false;
}

std::optional<Int> optimum(const Problem& problem) {
  std::optional<Int> best;
  for (Assignment a = 0; a < assignments(problem); a++) {
    if (!holds(problem, a)) continue;
    const Int value = valueOf(*problem.objective, a);
    if (!best || (problem.maximise ? value > *best : value < *best)) best = value;
  }
  return best;
}

} // namespace plain
