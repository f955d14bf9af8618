/// \file
/// The problem that the user names, read.
#ifndef QUILLON_PROGRAM_INPUT_H
#define QUILLON_PROGRAM_INPUT_H

#include "formats/Problem.h"
#include "formats/Result.h"

#include <string>
#include <string_view>
#include <vector>

/// Whose habits the results follow: what is read decides what is printed.
enum class Dialect {
  pseudo_boolean, ///< `v x1 -x2`
  clauses,        ///< `v 1 -2 0`
  max_sat         ///< `v 10`, costs
};

/// The values of --format; the first one stands for whichever fits.
std::vector<std::string> formatNames();

struct Input {
  formats::Problem problem;
  Dialect dialect = Dialect::pseudo_boolean;
};

/// Reads `text` as `format`, one of `formatNames()`.
formats::Result<Input> readInputText(std::string_view text, std::string_view format);

#endif
