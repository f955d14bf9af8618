/// \file
/// The problem that a proof speaks of, and its readers.
#ifndef QUILLON_CHECKER_PROBLEM_H
#define QUILLON_CHECKER_PROBLEM_H

#include "Names.h"
#include "Row.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace checker {

struct Problem {
  Names names;
  std::vector<Row> rows; ///< in the order of their identifiers, which count from 1
  /// To be minimised: the sum of the terms less the degree. The negation of what a "max:" said.
  std::optional<Row> objective;
  bool maximise = false;                                 ///< whether it said so
  std::unordered_map<std::string, std::uint64_t> labels; ///< identifiers of labelled rows
};

enum class Format { opb, cnf, wcnf };

/// Linear OPB, DIMACS CNF or WCNF of 2022, as `format` says or else as it looks. An equality is two
/// rows, first ">=", then "<=". The variable i of a CNF is x<i>. A soft clause i (all clauses
/// counted) of two or more literals gets the further literal ~_b<i>, which costs its weight; one of
/// a single literal is no row, and its negation costs the weight. Throws a Refusal, whose message
/// begins with the line.
Problem readProblem(std::string_view text, std::optional<Format> format = {});

} // namespace checker

#endif
