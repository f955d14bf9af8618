/// \file
/// Products and soft rows as linear rows.
#include "Linear.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace formats {
namespace {

class Lineariser {
  const Problem& source;
  Linear result;
  FormBuilder objective;

  void addTerm(Int coefficient, int variable) {
    result.rows.terms().add({coefficient, variable, {}});
  }
  void addRow(Relation relation, Int bound, Place place = {}) {
    RowHead row;
    row.relation = relation;
    row.bound = bound;
    row.place = place;
    result.rows.add(row);
  }

  /// Adds `coefficient` times the literal to the row that is being made; what must be subtracted
  /// from its bound.
  Int addLiteral(Int coefficient, Literal literal) {
    addTerm(literal.isNegated() ? -coefficient : coefficient, literal.variable());
    return literal.isNegated() ? coefficient : 0;
  }

  void define(const Product& product) {
    for (const Literal factor : product.factors) {
      const Int constant = addLiteral(1, factor);
      addTerm(-1, product.variable);
      addRow(Relation::at_least, -constant);
    }
    Int bound = 1 - static_cast<Int>(product.factors.size());
    addTerm(1, product.variable);
    for (const Literal factor : product.factors) bound -= addLiteral(-1, factor);
    addRow(Relation::at_least, bound);
  }

  /// Puts the cost on the literal's being true. All costs add up to an Int.
  void charge(Int cost, Literal literal) {
    if (literal.isNegated()) result.constant += cost;
    [[maybe_unused]] const bool added = objective.add(
        literal.variable(), literal.isNegated() ? -cost : cost, {}, -largest_int, largest_int);
  }

  /// Demands `form` >= `bound` (or <=, as `relation` says) unless `relaxation`, whose coefficient
  /// is `slack`.
  void relax(const Row& row, Relation relation, Int slack, int relaxation) {
    for (const Term term : row.form) result.rows.terms().add(term);
    addTerm(relation == Relation::at_least ? slack : -slack, relaxation);
    addRow(relation, row.bound, row.place);
  }

  std::optional<Error> soften(const Row& row, Int cost) {
    // What the form can come to; neither can wrap, nor can what it misses the bound by.
    Int least = 0;
    Int most = 0;
    Int weight = magnitude(row.bound);
    size_t used = 0;
    int variable = -1;
    for (const Term term : row.form) {
      if (term.coefficient == 0) continue;
      (term.coefficient < 0 ? least : most) += term.coefficient;
      weight += magnitude(term.coefficient);
      used++;
      variable = term.variable;
    }
    const bool from_below = row.relation != Relation::at_most;
    const bool from_above = row.relation != Relation::at_least;
    const auto admits = [&](Int left) {
      return (!from_below || left >= row.bound) && (!from_above || left <= row.bound);
    };
    const bool is_clause = source.format == Format::wcnf;
    if (used <= 1) {
      const bool when_false = admits(0);
      const bool when_true = admits(least + most);
      if (when_false != when_true)
        charge(cost, {variable, when_true});
      else if (!when_false && !is_clause)
        result.constant += cost;
      if (when_false != when_true || !is_clause) return std::nullopt;
    }
    const Int below = is_clause ? 1 : from_below ? row.bound - least : 0;
    const Int above = from_above ? most - row.bound : 0;
    if (below <= 0 && above <= 0) return std::nullopt;
    if (!addTo(weight, std::max(below, above))) {
      return Error{row.place,
                   std::string("the numbers of this soft row and of what relaxes it add up to "
                               "more than ") +
                       int_width,
                   0, true};
    }
    const int relaxation = result.variables++;
    if (below > 0) relax(row, Relation::at_least, below, relaxation);
    if (above > 0) relax(row, Relation::at_most, above, relaxation);
    charge(cost, {relaxation, false});
    return std::nullopt;
  }

  std::optional<Error> softenAll() {
    const SoftRows& soft = source.soft;
    result.optimises = true;
    objective.begin(result.objective);
    for (size_t i = 0; i < soft.rows.size(); i++)
      if (auto error = soften(soft.rows[i], soft.costs[i])) return error;
    if (soft.top) {
      for (const Term term : result.objective) result.rows.terms().add(term);
      addRow(Relation::at_most, *soft.top - 1 - result.constant);
    }
    return std::nullopt;
  }

  void copyObjective() {
    const Objective& given = source.objective;
    result.optimises = given.sense != Sense::none;
    result.negated = given.sense == Sense::maximise;
    result.constant = result.negated ? -given.constant : given.constant;
    for (Term term : given.form) {
      if (result.negated) term.coefficient = -term.coefficient;
      result.objective.add(term);
    }
  }

 public:
  explicit Lineariser(const Problem& problem) : source(problem) {}

  Result<Linear> run() {
    result.variables = source.variables.size();
    for (size_t i = 0; i < source.products.size(); i++) define(source.products[i]);
    if (!source.hasCost())
      copyObjective();
    else if (auto error = softenAll())
      return *error;
    return std::move(result);
  }
};

} // namespace

Result<Linear> linearise(const Problem& problem) {
  return Lineariser(problem).run();
}

} // namespace formats
