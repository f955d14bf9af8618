/// \file
/// Entering what has gathered.
#include "Assembler.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace formats {

void Assembler::enter() {
  terms.lookUp(problem.variables, builder);
  std::size_t i = 0;
  const auto addTermsUpTo = [&](std::size_t end) {
    for (; i < end; i++) {
      const TermBatch::Entry& term = terms[i];
      [[maybe_unused]] const bool added =
          builder.add(term.variable, term.coefficient, term.place, -largest_int, largest_int);
      assert(added);
    }
  };
  for (std::size_t r = 0; r <= row_count; r++) {
    if (turned[r]) turn();
    turned[r] = false;
    if (r == row_count) break;
    addTermsUpTo(rows[r].end);
    target->add(rows[r].head);
    builder.begin(target->terms());
  }
  addTermsUpTo(terms.size());
  terms.clear();
  row_count = 0;
}

void Assembler::beginObjective() {
  enter();
  builder.begin(problem.objective.form);
}

void Assembler::endObjective() {
  enter();
  builder.begin(target->terms());
}

void Assembler::turn() {
  target = target == &problem.rows ? &problem.soft.rows : &problem.rows;
  builder.begin(target->terms());
}

void Assembler::addTerm(int variable, Int coefficient, Place place) {
  enter();
  [[maybe_unused]] const bool added =
      builder.add(variable, coefficient, place, -largest_int, largest_int);
  assert(added);
}

std::optional<Literal> Assembler::product(const std::vector<NamedLiteral>& literals) {
  enter();
  factors.clear();
  for (const NamedLiteral& literal : literals)
    factors.emplace_back(problem.variables.add(literal.name), literal.negated);
  std::sort(factors.begin(), factors.end());
  factors.erase(std::unique(factors.begin(), factors.end()), factors.end());
  for (size_t i = 0; i + 1 < factors.size(); i++)
    if (factors[i].variable() == factors[i + 1].variable()) return std::nullopt;
  if (factors.size() == 1) return factors.front();
  return Literal(problem.products.add(factors, problem.variables), false);
}

Problem Assembler::take() {
  enter();
  return std::move(problem);
}

} // namespace formats
