/// \file
/// Reads standard OPB, the linear format of the pseudo-Boolean competitions, in which blanks
/// separate coefficient and literal.
#ifndef QUILLON_FORMATS_OPB_READER_H
#define QUILLON_FORMATS_OPB_READER_H

#include "Problem.h"

#include <string_view>

namespace formats {

/// Reads the whole of `text`. Each literal has a coefficient; a literal ~x is rewritten, a ~x being
/// a - a x; numbers without a literal are constants and go to the bound, or to the objective's
/// constant. Rows may be left without a term, and terms without a weight. A "#variable= N" in a
/// comment is kept as `Problem::declared`.
///
/// Refused, each with its own message: products, "!=" and strict relations, several relations in a
/// row, soft constraints, a second objective or one behind a row, literals without a coefficient,
/// numbers that are no integers, a missing ';', a text without any statement, and a row or
/// objective whose numbers do not add up to an Int. Since our own format has a star where OPB has a
/// blank, no text with a weighted literal is valid in both formats. Linear time.
Result<Problem> readOpb(std::string_view text);

} // namespace formats

#endif
