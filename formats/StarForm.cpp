/// \file
/// The way of a problem into our own format.
#include "StarForm.h"

#include "Lexical.h"
#include "Linear.h"

#include <optional>

namespace formats {
namespace {

bool isWritable(Int number) {
  return magnitude(number) <= largest_number;
}

/// Whether a row without terms holds.
bool holdsEmpty(const Row& row) {
  if (row.relation == Relation::at_most) return row.bound >= 0;
  return row.relation == Relation::equal ? row.bound == 0 : row.bound <= 0;
}

class Converter {
  const Problem& source;
  const Linear& linear;
  StarForm result;
  /// Per variable of the linear problem: its number in the result, -1 while it has not occurred.
  std::vector<int> numbers;
  size_t fresh_names = 0;

  /// A legal name that neither the source nor the result has.
  std::string freshName() {
    while (true) {
      std::string name = "v";
      name += std::to_string(++fresh_names);
      name += '_';
      if (source.variables.find(name) < 0 && result.problem.variables.find(name) < 0) return name;
    }
  }

  int numberOf(int variable) {
    int& number = numbers[static_cast<size_t>(variable)];
    if (number >= 0) return number;
    const bool is_relaxation = variable >= source.variables.size();
    const std::string_view name = is_relaxation ? "" : source.variables[variable];
    if (isLegalName(name)) {
      number = result.problem.variables.add(name);
    } else {
      result.renamed.emplace_back(freshName(), name);
      number = result.problem.variables.add(result.renamed.back().first);
    }
    return number;
  }

  std::string describe(int variable) const {
    if (variable >= source.variables.size()) return "what relaxes a soft row";
    return '"' + std::string(source.variables[variable]) + '"';
  }

  /// Copies the terms that count; `where` names the form in the message.
  std::optional<Error> convert(Form from, Terms& to, const std::string& where) {
    for (const Term term : from) {
      if (term.coefficient == 0) continue;
      if (!isWritable(term.coefficient))
        return Error{term.place, where + ": the coefficient " + toString(term.coefficient) +
                                     " of " + describe(term.variable) + " is beyond " +
                                     std::to_string(largest_number)};
      to.add({term.coefficient, numberOf(term.variable), term.place});
    }
    return std::nullopt;
  }

  std::optional<Error> convertObjective() {
    const Objective& given = source.objective;
    if (!source.hasObjective()) return std::nullopt;
    Objective& made = result.problem.objective;
    const Form form = source.hasCost() ? linear.objective : given.form;
    const Int constant = source.hasCost() ? linear.constant : given.constant;
    if (auto error = convert(form, made.form, "objective")) return error;
    if (made.form.empty()) {
      result.notes.push_back("the objective of the source has no variable: it is always " +
                             toString(constant));
      return std::nullopt;
    }
    made.sense = source.hasCost() ? Sense::minimise : given.sense;
    made.name = given.name;
    made.place = given.place;
    if (constant != 0)
      result.notes.push_back("objective of the source = objective here + " + toString(constant));
    return std::nullopt;
  }

  /// A row over any one variable, a fresh one if the source has none.
  void addRow(Int bound) {
    Names& names = result.problem.variables;
    if (names.size() == 0 && source.variables.size() > 0) {
      numberOf(0);
    } else if (names.size() == 0) {
      result.renamed.emplace_back(freshName(), "");
      names.add(result.renamed.back().first);
    }
    result.problem.rows.terms().add({1, 0, {}});
    RowHead row;
    row.bound = bound;
    result.problem.rows.add(row);
  }

  /// Copies one row; one that never holds is left to `never_holds`.
  std::optional<Error> convertRow(const Row& row, const std::string& where, bool& never_holds) {
    Terms& terms = result.problem.rows.terms();
    const size_t before = terms.size();
    if (auto error = convert(row.form, terms, where)) return error;
    if (terms.size() == before) {
      never_holds = never_holds || !holdsEmpty(row);
      result.notes.push_back(
          where + " of the source has no variable and " +
          (holdsEmpty(row) ? "always holds: dropped" : "never holds: the last row stands for it"));
      return std::nullopt;
    }
    if (!isWritable(row.bound))
      return Error{row.bound_place, where + ": the right-hand side " + toString(row.bound) +
                                        " is beyond " + std::to_string(largest_number)};
    result.problem.rows.add(row);
    return std::nullopt;
  }

  std::optional<Error> convertRows() {
    bool never_holds = false;
    for (size_t i = 0; i < source.rows.size(); i++)
      if (auto error = convertRow(source.rows[i], "row " + std::to_string(i + 1), never_holds))
        return error;
    for (const Row row : linear.rows)
      if (auto error = convertRow(row, "a soft row or the top", never_holds)) return error;
    if (never_holds) addRow(2);
    if (result.problem.rows.empty()) {
      result.notes.push_back("no row is left: the one here always holds");
      addRow(0);
    }
    return std::nullopt;
  }

  void noteLostVariables() {
    size_t lost = 0;
    for (const int number : numbers) lost += number < 0;
    if (lost != 0)
      result.notes.push_back(std::to_string(lost) +
                             " of the source's variables have no weight left and do not occur");
  }

 public:
  Converter(const Problem& problem, const Linear& its_linear)
      : source(problem), linear(its_linear), numbers(static_cast<size_t>(linear.variables), -1) {}

  Result<StarForm> run() {
    if (auto error = convertObjective()) return *error;
    if (auto error = convertRows()) return *error;
    noteLostVariables();
    return std::move(result);
  }
};

} // namespace

Result<StarForm> toStarForm(const Problem& source) {
  const Result<Linear> linear = linearise(source);
  if (!linear) return linear.error();
  return Converter(source, *linear).run();
}

} // namespace formats
