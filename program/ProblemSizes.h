/// \file
/// What one can say about a problem's size.
#ifndef QUILLON_PROGRAM_PROBLEM_SIZES_H
#define QUILLON_PROGRAM_PROBLEM_SIZES_H

#include "formats/Problem.h"

#include <algorithm>
#include <cstdint>

struct ProblemSizes {
  std::uint64_t variables = 0; ///< of the text; products are none
  std::uint64_t rows = 0;      ///< those that must hold
  std::uint64_t equations = 0; ///< among them
  std::uint64_t terms = 0;     ///< of all rows, soft ones too
  std::uint64_t longest = 0;   ///< terms of the longest row
  formats::Int largest = 0;    ///< magnitude of a coefficient of a row
};

/// Takes time for each term.
inline ProblemSizes sizesOf(const formats::Problem& problem) {
  ProblemSizes sizes;
  sizes.variables = static_cast<std::uint64_t>(problem.variables.size()) - problem.products.size();
  sizes.rows = problem.rows.size();
  for (const formats::Rows* const rows : {&problem.rows, &problem.soft.rows}) {
    for (const formats::Row row : *rows) {
      sizes.equations += rows == &problem.rows && row.relation == formats::Relation::equal ? 1 : 0;
      sizes.terms += row.form.size();
      sizes.longest = std::max<std::uint64_t>(sizes.longest, row.form.size());
      for (const formats::Term term : row.form)
        sizes.largest = std::max(sizes.largest, formats::magnitude(term.coefficient));
    }
  }
  return sizes;
}

#endif
