/// \file
/// Reads a problem in any format.
#ifndef QUILLON_FORMATS_PROBLEM_READER_H
#define QUILLON_FORMATS_PROBLEM_READER_H

#include "Problem.h"

#include <optional>
#include <string_view>

namespace formats {

/// The name of `format`, in lower case: "star", "opb", "wbo", "cnf" or "wcnf".
const char* nameOf(Format format);
/// The format called `name`, if any is.
std::optional<Format> formatOf(std::string_view name);
/// The names of all formats, as messages list them.
inline constexpr const char* format_names = "star, opb, wbo, cnf or wcnf";

/// Reads `text` in the format given, or else in the one that its content shows: DIMACS texts are
/// known by their header, or by what is the first clause where there is none; otherwise our own
/// format or OPB or WBO is read, whichever fits; a text that fits two means the same in both. When
/// neither fits, the error is that of the reader that got further.
Result<Problem> readProblem(std::string_view text, std::optional<Format> format = std::nullopt);

} // namespace formats

#endif
