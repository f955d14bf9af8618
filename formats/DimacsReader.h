/// \file
/// Reads the formats of the satisfiability competitions: CNF, and WCNF with weights in front of
/// clauses.
#ifndef QUILLON_FORMATS_DIMACS_READER_H
#define QUILLON_FORMATS_DIMACS_READER_H

#include "Problem.h"

#include <string_view>

namespace formats {

/// Whether the first thing in `text` behind comments is "p cnf", "p wcnf" or a whole clause of a
/// text without a header. No text in another format begins so. Linear time.
bool isDimacs(std::string_view text);

/// Reads the whole of `text`: CNF or, with a header "p wcnf" or without one, WCNF. Variables are
/// called by their numbers; a clause is a row that wants a sum of at least 1, in which negated
/// literals have been rewritten; a clause with a weight is a soft row of this cost. In the form
/// with a header, a weight of at least the header's third number makes a clause hard, in the other
/// one an "h" does. `Problem::declared` is what the header promises, or the largest variable.
///
/// A line that begins with a "c" is a comment wherever it is, and clauses may go over several
/// lines. Behind all promised clauses of a CNF, a "%" and perhaps a 0 are let pass. Refused, each
/// with its own message: a literal beyond the promised variables, more or fewer clauses than
/// promised, a clause without its 0, weights that are no integers of 0 or more or do not, each
/// taken twice, add up to an Int. Linear time.
Result<Problem> readDimacs(std::string_view text);

} // namespace formats

#endif
