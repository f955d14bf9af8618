/// \file
/// Evaluation, and the comparison of what comes out with what a solver claims.
#include "Check.h"

#include <utility>

namespace formats {
namespace {

bool holds(Int left, Relation relation, Int bound) {
  switch (relation) {
  case Relation::at_most:
    return left <= bound;
  case Relation::equal:
    return left == bound;
  case Relation::at_least:
    return left >= bound;
  }
  return false;
}

std::string quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

/// "row 3", with its name or its line where it has one.
std::string describe(const Problem& problem, size_t index) {
  const Row row = problem.rows[index];
  std::string text = "row " + std::to_string(index + 1);
  if (!row.label.empty()) text += " " + quoted(row.label);
  if (row.place.line != 0) text += " (line " + std::to_string(row.place.line) + ")";
  return text;
}

/// Whether `name` is one of x1 to x`declared`.
bool isDeclared(std::string_view name, Int declared) {
  if (name.size() < 2 || name[0] != 'x' || name[1] < '1' || name[1] > '9') return false;
  const std::optional<Int> number = parseInt(name.substr(1));
  return number && *number <= declared;
}

/// What an entry of a value line speaks of.
struct Meaning {
  bool known = false;
  int variable = -1; ///< -1 when it does not occur in the problem
  bool positive = true;
};

Meaning meaningOf(const Problem& problem, std::string_view text, const NameMap& map) {
  const auto lookUp = [&](std::string_view name, bool positive) {
    const auto mapped = map.empty() ? map.end() : map.find(std::string(name));
    if (mapped != map.end()) {
      name = mapped->second;
      if (name.empty()) return Meaning{true, -1, positive};
    }
    const int variable = problem.variables.find(name);
    return Meaning{variable >= 0 || isDeclared(name, problem.declared), variable, positive};
  };
  bool positive = true;
  if (text.starts_with('-')) {
    positive = false;
    text.remove_prefix(1);
  }
  const Meaning whole = lookUp(text, positive);
  if (whole.known || !text.starts_with('~')) return whole;
  return lookUp(text.substr(1), !positive);
}

/// Whether an objective of `a` is better than one of `b`.
bool isBetter(Sense sense, Int a, Int b) {
  return sense == Sense::maximise ? a > b : a < b;
}

} // namespace

std::optional<Int> valueOf(Form form, const Assignment& assignment, int* unset) {
  Int sum = 0;
  for (const Term term : form) {
    const Value value = assignment[static_cast<size_t>(term.variable)];
    if (term.coefficient == 0 || value == Value::negative) continue;
    if (value == Value::unset) {
      if (unset != nullptr) *unset = term.variable;
      return std::nullopt;
    }
    sum += term.coefficient;
  }
  return sum;
}

Evaluation evaluate(const Problem& problem, const Assignment& assignment) {
  for (size_t i = 0; i < problem.rows.size(); i++) {
    const Row row = problem.rows[i];
    int unset = -1;
    const std::optional<Int> left = valueOf(row.form, assignment, &unset);
    if (!left) return {Evaluation::Kind::undetermined, i, 0, unset};
    if (!holds(*left, row.relation, row.bound)) return {Evaluation::Kind::violated, i, *left, -1};
  }
  return {};
}

Result<Assignment> assignmentOf(const Problem& problem, const std::vector<ValueEntry>& values,
                                const NameMap& map) {
  Assignment assignment(static_cast<size_t>(problem.variables.size()), Value::unset);
  for (const ValueEntry& entry : values) {
    const Meaning meaning = meaningOf(problem, entry.text, map);
    if (!meaning.known)
      return Error{entry.place, "the problem has no variable for the value \"" + entry.text + "\""};
    if (meaning.variable < 0) continue;
    Value& value = assignment[static_cast<size_t>(meaning.variable)];
    const Value stated = meaning.positive ? Value::positive : Value::negative;
    if (value != Value::unset && value != stated)
      return Error{entry.place, "the value line has " +
                                    quoted(problem.variables[meaning.variable]) + " both ways"};
    value = stated;
  }
  return assignment;
}

std::string Report::text() const {
  if (!objective) return sentence;
  return sentence + ", objective " + toString(*objective) +
         (stated ? " as stated" : ", none stated");
}

Report falseClaim(const std::string& why) {
  return {Report::Kind::fails, "wrong: " + why, {}, false};
}

Report checkOutput(const Problem& problem, const SolverOutput& output, const NameMap& map) {
  if (!output.has_values) {
    if (output.answer == Answer::satisfiable || output.answer == Answer::optimum)
      return falseClaim(std::string("the verdict is ") + wordsOf(output.answer) +
                        ", but there is no value line");
    return {Report::Kind::nothing,
            std::string("nothing to check: ") + wordsOf(output.answer) + ", no value line",
            {},
            false};
  }
  if (output.answer == Answer::unsatisfiable)
    return falseClaim("the verdict is UNSATISFIABLE, but there is a value line");

  const Result<Assignment> assignment = assignmentOf(problem, output.values, map);
  if (!assignment) return falseClaim(assignment.error().message);
  const Evaluation found = evaluate(problem, *assignment);
  if (found.kind == Evaluation::Kind::undetermined)
    return falseClaim(describe(problem, found.row) + " uses " +
                      quoted(problem.variables[found.variable]) + ", which has no value");
  if (found.kind == Evaluation::Kind::violated) {
    const Row row = problem.rows[found.row];
    return falseClaim(describe(problem, found.row) + " does not hold: " + toString(found.left) +
                      " " + signOf(row.relation) + " " + toString(row.bound) + " is false");
  }

  Report report;
  report.sentence = problem.rows.size() == 1
                        ? "ok: the one row holds"
                        : "ok: all " + std::to_string(problem.rows.size()) + " rows hold";
  report.stated = !output.objectives.empty();
  const Objective& objective = problem.objective;
  if (objective.sense == Sense::none)
    return report.stated ? falseClaim("an objective is stated, but the problem has none") : report;
  int unset = -1;
  const std::optional<Int> sum = valueOf(objective.form, *assignment, &unset);
  if (!sum)
    return falseClaim("the objective uses " + quoted(problem.variables[unset]) +
                      ", which has no value");
  const Int value = *sum + objective.constant;
  report.objective = value;
  if (report.stated && output.objectives.back() != value)
    return falseClaim("the rows hold, but the objective is " + toString(value) + ", not " +
                      toString(output.objectives.back()));
  if (output.answer == Answer::optimum) {
    for (const Int other : output.objectives)
      if (isBetter(objective.sense, other, value))
        return falseClaim("the verdict is OPTIMUM FOUND with the objective " + toString(value) +
                          ", but " + toString(other) + " was stated before");
  }
  return report;
}

} // namespace formats
