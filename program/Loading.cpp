/// \file
/// Rows and the objective as the engine takes them.
#include "Loading.h"

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

void load(const formats::Problem& problem, estoc::Solver& solver, const std::atomic<bool>& stop) {
  for (int v = 0; v < problem.variables.size(); v++) solver.newVariable();
  const formats::Objective& objective = problem.objective;
  if (objective.sense != formats::Sense::none) {
    solver.minimise(termsOf(objective.form, objective.sense == formats::Sense::maximise),
                    userValue(objective, objective.constant));
  }
  for (const formats::Row row : problem.rows)
    if (stop.load(std::memory_order_relaxed) || !addRow(row, solver)) return;
}

Int userValue(const formats::Objective& objective, Int engine_value) {
  return objective.sense == formats::Sense::maximise ? -engine_value : engine_value;
}
