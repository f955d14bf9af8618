/// \file
/// Entering what has gathered, in steps over all of it.
#include "Assembler.h"

#include <cassert>
#include <utility>

namespace formats {

void Assembler::enter() {
  Names& names = problem.variables;
  bool any_hashed = false;
  for (std::size_t i = 0; i < term_count; i++) any_hashed = any_hashed || terms[i].name.isHashed();
  for (int step = 1; any_hashed && step <= 2; step++)
    for (std::size_t i = 0; i < term_count; i++)
      if (terms[i].name.isHashed()) names.approach(terms[i].name, step);
  for (std::size_t i = 0; i < term_count; i++) {
    terms[i].variable = names.add(terms[i].name);
    builder.approach(terms[i].variable);
  }

  std::size_t i = 0;
  const auto addTermsUpTo = [&](std::size_t end) {
    for (; i < end; i++) {
      const PendingTerm& term = terms[i];
      [[maybe_unused]] const bool added =
          builder.add(term.variable, term.coefficient, term.place, -largest_int, largest_int);
      assert(added);
    }
  };
  for (std::size_t r = 0; r < row_count; r++) {
    addTermsUpTo(rows[r].end);
    problem.rows.add(rows[r].head);
    builder.begin(problem.rows.terms());
  }
  addTermsUpTo(term_count);
  term_count = 0;
  row_count = 0;
}

void Assembler::beginObjective() {
  enter();
  builder.begin(problem.objective.form);
}

void Assembler::endObjective() {
  enter();
  builder.begin(problem.rows.terms());
}

Problem Assembler::take() {
  enter();
  return std::move(problem);
}

} // namespace formats
