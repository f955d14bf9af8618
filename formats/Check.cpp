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

/// "row 3" or the like, with its name or its line where it has one, or "the objective".
std::string describe(const Problem& problem, Evaluation::Part part, size_t index) {
  if (part == Evaluation::Part::objective) return "the objective";
  const bool is_soft = part == Evaluation::Part::soft_row;
  const Row row = is_soft ? problem.soft.rows[index] : problem.rows[index];
  std::string text = (is_soft ? "soft row " : "row ") + std::to_string(index + 1);
  if (!row.label.empty()) text += " " + quoted(row.label);
  if (row.place.line != 0) text += " (line " + std::to_string(row.place.line) + ")";
  return text;
}

bool isDimacs(const Problem& problem) {
  return problem.format == Format::cnf || problem.format == Format::wcnf;
}

/// Whether `name` is one that the problem declares.
bool isDeclared(std::string_view name, const Problem& problem) {
  if (!isDimacs(problem)) {
    if (!name.starts_with('x')) return false;
    name.remove_prefix(1);
  }
  if (name.empty() || name[0] < '1' || name[0] > '9') return false;
  const std::optional<Int> number = parseInt(name);
  return number && *number <= problem.declared;
}

/// Whether the values are one word with a 0 or 1 for each variable declared. A literal is never
/// that long, or it is "1", which means the same.
bool isBitString(const Problem& problem, const std::vector<ValueEntry>& values) {
  if (problem.format != Format::wcnf || values.size() != 1) return false;
  const std::string& text = values.front().text;
  return static_cast<Int>(text.size()) == problem.declared &&
         text.find_first_not_of("01") == std::string::npos;
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
    return Meaning{variable >= 0 || isDeclared(name, problem), variable, positive};
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

/// Gives each product the value that its factors give it: the negative one as soon as one factor is
/// false, the positive one when all are true.
void setProducts(const Problem& problem, Assignment& assignment) {
  for (size_t i = 0; i < problem.products.size(); i++) {
    const Product product = problem.products[i];
    Value value = Value::positive;
    for (const Literal factor : product.factors) {
      const Value given = assignment[static_cast<size_t>(factor.variable())];
      const Value falsifying = factor.isNegated() ? Value::positive : Value::negative;
      if (given == falsifying) value = Value::negative;
      if (given == Value::unset && value == Value::positive) value = Value::unset;
    }
    assignment[static_cast<size_t>(product.variable)] = value;
  }
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

Evaluation evaluate(const Problem& problem, Assignment assignment) {
  setProducts(problem, assignment);
  Evaluation found;
  found.kind = Evaluation::Kind::undetermined;
  for (size_t i = 0; i < problem.rows.size(); i++) {
    const Row row = problem.rows[i];
    found.row = i;
    const std::optional<Int> left = valueOf(row.form, assignment, &found.variable);
    if (!left) return found;
    if (holds(*left, row.relation, row.bound)) continue;
    found.kind = Evaluation::Kind::violated;
    found.left = *left;
    return found;
  }

  Int value = 0;
  if (problem.hasCost()) {
    found.part = Evaluation::Part::soft_row;
    for (size_t i = 0; i < problem.soft.rows.size(); i++) {
      const Row row = problem.soft.rows[i];
      found.row = i;
      const std::optional<Int> left = valueOf(row.form, assignment, &found.variable);
      if (!left) return found;
      if (!holds(*left, row.relation, row.bound)) value += problem.soft.costs[i];
    }
    if (problem.soft.top && value >= *problem.soft.top) {
      found.part = Evaluation::Part::objective;
      found.kind = Evaluation::Kind::violated;
      found.left = value;
      return found;
    }
  } else if (problem.objective.sense != Sense::none) {
    found.part = Evaluation::Part::objective;
    const std::optional<Int> sum = valueOf(problem.objective.form, assignment, &found.variable);
    if (!sum) return found;
    value = *sum + problem.objective.constant;
  }
  found = {};
  if (problem.hasObjective()) found.objective = value;
  return found;
}

Result<Assignment> assignmentOf(const Problem& problem, const std::vector<ValueEntry>& values,
                                const NameMap& map) {
  Assignment assignment(static_cast<size_t>(problem.variables.size()), Value::unset);
  if (isBitString(problem, values)) {
    const std::string& bits = values.front().text;
    for (int v = 0; v < problem.variables.size(); v++) {
      const std::optional<Int> number = parseInt(problem.variables[v]);
      assignment[static_cast<size_t>(v)] =
          bits[static_cast<size_t>(*number - 1)] == '1' ? Value::positive : Value::negative;
    }
    return assignment;
  }
  for (const ValueEntry& entry : values) {
    if (isDimacs(problem) && entry.text == "0") continue;
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
    return falseClaim(describe(problem, found.part, found.row) + " uses " +
                      quoted(problem.variables[found.variable]) + ", which has no value");
  if (found.kind == Evaluation::Kind::violated) {
    if (found.part == Evaluation::Part::objective)
      return falseClaim("the rows hold, but the cost " + toString(found.left) +
                        " is not below the top " + toString(*problem.soft.top));
    const Row row = problem.rows[found.row];
    return falseClaim(describe(problem, found.part, found.row) +
                      " does not hold: " + toString(found.left) + " " + signOf(row.relation) + " " +
                      toString(row.bound) + " is false");
  }

  Report report;
  report.sentence = problem.rows.size() == 1
                        ? "ok: the one row holds"
                        : "ok: all " + std::to_string(problem.rows.size()) + " rows hold";
  report.stated = !output.objectives.empty();
  if (!found.objective)
    return report.stated ? falseClaim("an objective is stated, but the problem has none") : report;
  const Int value = *found.objective;
  report.objective = value;
  if (report.stated && output.objectives.back() != value)
    return falseClaim("the rows hold, but the objective is " + toString(value) + ", not " +
                      toString(output.objectives.back()));
  if (output.answer == Answer::optimum) {
    for (const Int other : output.objectives)
      if (isBetter(problem.objective.sense, other, value))
        return falseClaim("the verdict is OPTIMUM FOUND with the objective " + toString(value) +
                          ", but " + toString(other) + " was stated before");
  }
  return report;
}

} // namespace formats
