/// \file
/// Reads our own format, in which a term joins coefficient and variable by a star. It shares no
/// code with the solver's reader, so that each can be held against the other; they accept the
/// same texts and give the same problem.
#ifndef QUILLON_FORMATS_STAR_READER_H
#define QUILLON_FORMATS_STAR_READER_H

#include "Problem.h"

#include <string_view>

namespace formats {

/// Reads the whole of `text`. On success every row has a name (the made-up ones are "r." and the
/// ordinal of the word at which the row begins) and the objective is called "obj" unless the text
/// names it; coefficients lie within -2147483648 to 2147483647 and bounds within 2147483647 of 0.
/// Otherwise the first error, with the message the solver gives and its place. Linear time.
Result<Problem> readStar(std::string_view text);

} // namespace formats

#endif
