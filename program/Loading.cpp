/// \file
/// Rows and the objective as the engine takes them.
#include "Loading.h"

#include "formats/Linear.h"
#include "process/Program.h"

#include <vector>

namespace {

using formats::Int;

std::vector<estoc::WideTerm> termsOf(const formats::Form& form, bool negate) {
  std::vector<estoc::WideTerm> terms;
  terms.reserve(form.size());
  for (const formats::Term term : form)
    terms.push_back({negate ? -term.coefficient : term.coefficient,
                     estoc::Lit::of(static_cast<estoc::Var>(term.variable))});
  return terms;
}

/// False when there is no solution.
bool addRow(const formats::Row& row, estoc::Solver& solver) {
  using formats::Relation;
  if (row.relation != Relation::at_most && !solver.addRow(termsOf(row.form, false), row.bound))
    return false;
  return row.relation == Relation::at_least || solver.addRow(termsOf(row.form, true), -row.bound);
}

} // namespace

bool load(const formats::Problem& problem, estoc::Solver& solver, const std::atomic<bool>& stop) {
  const auto linear = formats::linearise(problem);
  if (!linear) {
    process::complain(linear.error().text());
    return false;
  }
  for (int v = 0; v < linear->variables; v++) solver.newVariable();
  if (linear->optimises) solver.minimise(termsOf(linear->objective, false), linear->constant);
  for (const formats::Rows* const rows : {&problem.rows, &linear->rows})
    for (const formats::Row row : *rows)
      if (stop.load(std::memory_order_relaxed) || !addRow(row, solver)) return true;
  return true;
}

Int userValue(const formats::Objective& objective, Int engine_value) {
  return objective.sense == formats::Sense::maximise ? -engine_value : engine_value;
}
