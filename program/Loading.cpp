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

/// False when there is no solution. `number` is the row's in the proof, 0 without one.
bool addRow(const formats::Row& row, std::uint64_t number, estoc::Solver& solver) {
  using formats::Relation;
  if (row.relation != Relation::at_most) {
    if (!solver.addRow(termsOf(row.form, false), row.bound, number)) return false;
    if (number != 0) number++;
  }
  return row.relation == Relation::at_least ||
         solver.addRow(termsOf(row.form, true), -row.bound, number);
}

} // namespace

void load(const formats::Problem& problem, const formats::Linear& linear,
          const Statement* statement, estoc::Solver& solver, const std::atomic<bool>& stop) {
  for (int v = 0; v < linear.variables; v++) solver.newVariable();
  if (linear.optimises) solver.minimise(termsOf(linear.objective, false), linear.constant);
  for (const formats::Rows* const rows : {&problem.rows, &linear.rows}) {
    std::size_t i = 0;
    for (const formats::Row row : *rows) {
      const std::uint64_t number =
          statement == nullptr ? 0 : statement->numberOf(i, rows == &problem.rows);
      if (stop.load(std::memory_order_relaxed) || !addRow(row, number, solver)) return;
      i++;
    }
  }
}

Int userValue(const formats::Objective& objective, Int engine_value) {
  return objective.sense == formats::Sense::maximise ? -engine_value : engine_value;
}
