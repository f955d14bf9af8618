/// \file
/// Names, numbers of rows, and the OPB text.
#include "Statement.h"

#include "process/Program.h"

#include <algorithm>

namespace {

using formats::Format;
using formats::Relation;

/// A letter or "_" and then at least one letter, digit or one of "[]{}_^-".
bool isAllowed(std::string_view name) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto isInner = [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') ||
           std::string_view("[]{}_^-").find(c) != std::string_view::npos;
  };
  return name.size() >= 2 && (isLetter(name[0]) || name[0] == '_') &&
         std::all_of(name.begin(), name.end(), isInner);
}

std::uint64_t rowsOf(const formats::Row& row) {
  return row.relation == Relation::equal ? 2 : 1;
}

bool isBefore(formats::Place a, formats::Place b) {
  return a.line != b.line ? a.line < b.line : a.column < b.column;
}

} // namespace

std::string Statement::obstacle(const formats::Problem& problem) {
  switch (problem.format) {
  case Format::cnf:
    return "";
  case Format::wcnf:
    return problem.has_header ? "is WCNF with a header" : "";
  case Format::star:
  case Format::wbo:
    return "is neither OPB nor made of clauses";
  case Format::opb:
    break;
  }
  if (!problem.is_plain) return "has products or constants, or blanks behind signs";
  for (int v = 0; v < problem.variables.size(); v++)
    if (!isAllowed(problem.variables[v]))
      return "has the name " + process::visible(problem.variables[v]) +
             ", which proofs do not know";
  return "";
}

Statement::Statement(const formats::Problem& text, const formats::Linear& made, bool write)
    : problem(text), linear(made), written(write) {
  if (!written && problem.format == Format::wcnf)
    numberClauses();
  else
    numberRows();
  if (!written && problem.format == Format::opb)
    for (int v = 0; v < problem.variables.size(); v++)
      while (problem.variables[v].starts_with(free_prefix)) free_prefix += '_';
}

void Statement::numberRows() {
  for (const formats::Row row : problem.rows) {
    problem_rows.push_back(row_count + 1);
    row_count += rowsOf(row);
  }
  for (const formats::Row row : linear.rows) {
    linear_rows.push_back(row_count + 1);
    row_count += rowsOf(row);
  }
}

/// Hard clauses and soft ones lie apart in the problem; each of these that has a relaxing variable
/// has one row.
void Statement::numberClauses() {
  std::size_t hard = 0;
  std::size_t relaxed = 0;
  const formats::Rows& soft = problem.soft.rows;
  for (std::size_t i = 0; i <= soft.size(); i++) {
    while (hard < problem.rows.size() &&
           (i == soft.size() || isBefore(problem.rows[hard].place, soft[i].place))) {
      problem_rows.push_back(++row_count);
      hard++;
    }
    if (i == soft.size() || relaxed == linear.rows.size()) continue;
    if (linear.rows[relaxed].place != soft[i].place) continue;
    linear_rows.push_back(++row_count);
    soft_clauses.push_back(hard + i + 1);
    relaxed++;
  }
}

void Statement::appendLiteral(estoc::Lit literal, std::string& text) const {
  const auto v = static_cast<int>(literal.var());
  const bool is_relaxing = !written && v >= problem.variables.size();
  if (literal.negated() != is_relaxing) text += '~';
  if (written) {
    text += 'x';
    text += std::to_string(v + 1);
  } else if (is_relaxing) {
    text += "_b";
    text += std::to_string(soft_clauses[static_cast<std::size_t>(v - problem.variables.size())]);
  } else {
    if (problem.format != Format::opb) text += 'x';
    text += problem.variables[v];
  }
}

void Statement::writeOpb(const std::function<void(const std::string&)>& write) const {
  std::string text;
  const auto appendTerms = [&](const formats::Form& form) {
    for (const formats::Term term : form) {
      if (term.coefficient >= 0) text += '+';
      text += formats::toString(term.coefficient);
      text += " x";
      text += std::to_string(term.variable + 1);
      text += ' ';
    }
  };
  text += "* #variable= " + std::to_string(linear.variables) +
          " #constraint= " + std::to_string(problem.rows.size() + linear.rows.size()) + "\n";
  if (linear.negated) text += "* what was to be maximised is negated\n";
  if (linear.constant != 0)
    text += "* the objective is to be added to " + formats::toString(linear.constant) + "\n";
  for (int v = 0; v < problem.variables.size(); v++)
    text += "* x" + std::to_string(v + 1) + " " + process::visible(problem.variables[v]) + "\n";
  if (linear.optimises) {
    text += "min: ";
    appendTerms(linear.objective);
    text += ";\n";
  }
  for (const formats::Rows* const part : {&problem.rows, &linear.rows}) {
    for (const formats::Row row : *part) {
      appendTerms(row.form);
      text += formats::signOf(row.relation);
      text += ' ';
      text += formats::toString(row.bound);
      text += " ;\n";
      constexpr std::size_t piece = std::size_t{1} << 16;
      if (text.size() < piece) continue;
      write(text);
      text.clear();
    }
  }
  write(text);
}
