/// \file
/// Reads OPB, the format of the pseudo-Boolean competitions, in which blanks separate coefficient
/// and literal, and WBO, which is OPB with soft rows.
#ifndef QUILLON_FORMATS_OPB_READER_H
#define QUILLON_FORMATS_OPB_READER_H

#include "Problem.h"

#include <string_view>

namespace formats {

/// Reads the whole of `text`. Each literal has a coefficient, and several literals make a product;
/// a literal ~x is rewritten, a ~x being a - a x; numbers without a literal are constants and go to
/// the bound, or to the objective's constant. Rows may be left without a term, and terms without a
/// weight. A text that begins with "soft:" and perhaps a top is WBO, in which "[cost]" in front of
/// a row makes it soft. A "#variable= N" in a comment is kept as `Problem::declared`.
///
/// Refused, each with its own message: "!=" and strict relations, several relations in a row, a
/// second objective, one behind a row or beside soft rows, a soft row without the head, literals
/// without a coefficient, numbers that are no integers, a missing ';', a text without any
/// statement, and numbers of a row or objective, or costs, that do not add up to an Int. Since our
/// own format has a star where OPB has a blank, no text with a weighted literal is valid in both
/// formats. Linear time, but for the sorting of a product's literals.
Result<Problem> readOpb(std::string_view text);

} // namespace formats

#endif
