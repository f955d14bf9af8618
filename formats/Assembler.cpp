/// \file
/// Entering what has gathered.
#include "Assembler.h"

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
  for (std::size_t r = 0; r < row_count; r++) {
    addTermsUpTo(rows[r].end);
    problem.rows.add(rows[r].head);
    builder.begin(problem.rows.terms());
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
  builder.begin(problem.rows.terms());
}

Problem Assembler::take() {
  enter();
  return std::move(problem);
}

} // namespace formats
