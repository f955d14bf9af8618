/// \file
/// The writer of our own format.
#include "StarWriter.h"

#include "Lexical.h"

#include <algorithm>
#include <string_view>

namespace formats {
namespace {

void writeTerm(std::string& out, Int coefficient, std::string_view name) {
  if (coefficient >= 0) out += '+';
  append(out, coefficient);
  out += '*';
  out += name;
  out += ' ';
}

void writeForm(std::string& out, Form form, const Names& names) {
  for (const Term term : form) {
    const std::string_view name = names[term.variable];
    if (term.coefficient < -largest_number) {
      // Only the sum of two terms can be this low: a number has no sign of its own.
      writeTerm(out, -largest_number, name);
      writeTerm(out, term.coefficient + largest_number, name);
    } else {
      writeTerm(out, term.coefficient, name);
    }
  }
}

/// Whether a reader may make up the name for a row without one.
bool isMadeUp(std::string_view name) {
  return name.starts_with("r.") && std::all_of(name.begin() + 2, name.end(), isDigit);
}

} // namespace

std::string writeStar(const Problem& problem, const std::vector<std::string>& comments) {
  std::string out = "* #variable= " + std::to_string(problem.variables.size()) +
                    " #constraint= " + std::to_string(problem.rows.size()) + "\n";
  for (const std::string& comment : comments) out += "* " + comment + "\n";
  const Objective& objective = problem.objective;
  if (objective.sense != Sense::none) {
    out += objective.sense == Sense::minimise ? "min: " : "max: ";
    // A label shares its word with what follows: alone, one like "min:" would be a keyword.
    if (!objective.name.empty() && objective.name != "obj") out += objective.name + ":";
    writeForm(out, objective.form, problem.variables);
    out += ";\n";
  }
  for (const Row row : problem.rows) {
    if (!row.label.empty() && !isMadeUp(row.label)) {
      out += row.label;
      out += ':';
    }
    writeForm(out, row.form, problem.variables);
    out += signOf(row.relation);
    out += ' ';
    append(out, row.bound);
    out += " ;\n";
  }
  return out;
}

} // namespace formats
