/// \file
/// The comment line with the objective, read and held against the values.
#include "QuillonOutput.h"

#include "Lexical.h"
#include "Linear.h"

#include <optional>
#include <string>
#include <utility>

namespace formats {

Result<QuillonOutput> readQuillonOutput(std::string_view text) {
  constexpr std::string_view prefix = "c optimum objective found =";
  Result<SolverOutput> common = readSolverOutput(text);
  if (!common) return common.error();
  QuillonOutput output = {std::move(*common), {}};
  for (size_t number = 1; !text.empty(); number++) {
    const std::string_view line = takeLine(text);
    if (!line.starts_with(prefix)) continue;
    const std::optional<Int> value = parseInt(trim(line.substr(prefix.size())));
    if (!value)
      return Error{Place::at(number, 1),
                   std::string("the reported objective is no plain integer of at most ") +
                       int_width};
    output.reported.push_back(*value);
  }
  return output;
}

Int reportedObjective(const Objective& objective, Int value) {
  Int negatives = 0;
  bool any_positive = false;
  for (const Term term : objective.form) {
    if (term.coefficient < 0) negatives += term.coefficient;
    if (term.coefficient > 0) any_positive = true;
  }
  if (objective.sense == Sense::minimise && !any_positive) return -value;
  return value - negatives;
}

Report checkQuillonOutput(const Problem& problem, const QuillonOutput& output, const NameMap& map) {
  Report report = checkOutput(problem, output, map);
  if (report.kind != Report::Kind::holds || output.reported.empty()) return report;
  if (!report.objective) return falseClaim("an objective is stated, but the problem has none");
  Int expected = 0;
  bool may_be_worse = false;
  if (problem.hasCost()) {
    Result<Linear> linear = linearise(problem);
    if (!linear) return falseClaim("an objective is stated, but " + linear.error().message);
    Objective cost;
    cost.sense = Sense::minimise;
    cost.form = std::move(linear->objective);
    expected = reportedObjective(cost, *report.objective - linear->constant);
    // What relaxes soft rows may be true without need until the optimum is found.
    may_be_worse = output.answer != Answer::optimum;
  } else {
    expected = reportedObjective(problem.objective, *report.objective - problem.objective.constant);
  }
  for (const Int reported : output.reported) {
    if (reported != expected && !(may_be_worse && reported > expected))
      return falseClaim("the rows hold, but the objective is " + toString(*report.objective) +
                        ", to be reported as " + toString(expected) + ", not " +
                        toString(reported));
  }
  report.stated = true;
  return report;
}

} // namespace formats
