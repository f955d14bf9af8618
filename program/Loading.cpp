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

/// Hands rows over one after the other.
class Loader {
  estoc::Solver& solver;
  std::vector<estoc::SmallTerm> small; ///< kept for its memory

  /// Whether the row's numbers have 32 bits, as nearly always: then less than 2^30 of them add up
  /// to less than 2^62. Its terms are in `small` then.
  bool isSmall(const formats::Row& row, bool negate) {
    const auto fits = [](Int value) { return value == static_cast<std::int32_t>(value); };
    if (!fits(row.bound) || row.form.size() >= std::size_t{1} << 29) return false;
    small.clear();
    for (const formats::Term term : row.form) {
      if (!fits(term.coefficient)) return false;
      const auto coefficient = static_cast<std::int64_t>(term.coefficient);
      small.push_back({negate ? -coefficient : coefficient,
                       estoc::Lit::of(static_cast<estoc::Var>(term.variable))});
    }
    return true;
  }

  bool add(const formats::Row& row, bool negate, std::uint64_t number) {
    const Int bound = negate ? -row.bound : row.bound;
    if (isSmall(row, negate))
      return solver.addSmallRow(small, static_cast<std::int64_t>(bound), number);
    return solver.addRow(termsOf(row.form, negate), bound, number);
  }

 public:
  explicit Loader(estoc::Solver& to) : solver(to) {}

  /// False when there is no solution. `number` is the row's in the proof, 0 without one.
  bool add(const formats::Row& row, std::uint64_t number) {
    using formats::Relation;
    if (row.relation != Relation::at_most) {
      if (!add(row, false, number)) return false;
      if (number != 0) number++;
    }
    return row.relation == Relation::at_least || add(row, true, number);
  }
};

} // namespace

void load(const formats::Problem& problem, const formats::Linear& linear,
          const Statement* statement, estoc::Solver& solver, const std::atomic<bool>& stop) {
  for (int v = 0; v < linear.variables; v++) solver.newVariable();
  if (linear.optimises) solver.minimise(termsOf(linear.objective, false), linear.constant);
  Loader loader(solver);
  for (const formats::Rows* const rows : {&problem.rows, &linear.rows}) {
    std::size_t i = 0;
    for (const formats::Row row : *rows) {
      const std::uint64_t number =
          statement == nullptr ? 0 : statement->numberOf(i, rows == &problem.rows);
      if (stop.load(std::memory_order_relaxed) || !loader.add(row, number)) return;
      i++;
    }
  }
}

Int userValue(const formats::Objective& objective, Int engine_value) {
  return objective.sense == formats::Sense::maximise ? -engine_value : engine_value;
}
