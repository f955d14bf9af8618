/// \file
/// Turns any problem of the model into an equivalent one that our own format can hold.
#ifndef QUILLON_FORMATS_STAR_FORM_H
#define QUILLON_FORMATS_STAR_FORM_H

#include "Problem.h"

#include <string>
#include <utility>
#include <vector>

namespace formats {

struct StarForm {
  /// What to write. Its variables are those that occur, in order of first occurrence, so reading
  /// the written text numbers them alike.
  Problem problem;
  /// The new and the old name of each variable whose own name is not legal in our format. The old
  /// name of a product is its factors with blanks between; it is empty for a variable that was made
  /// up since a row needs one or to relax a soft row.
  std::vector<std::pair<std::string, std::string>> renamed;
  /// What a reader of the result ought to know, one line each: the objective's constant, rows
  /// dropped or replaced, variables that no longer occur.
  std::vector<std::string> notes;
};

/// The equivalent of `source`, with what makes it linear: terms with coefficient 0 are dropped;
/// then rows without a term go when they hold, and one row that cannot hold stands for those that
/// do not hold; an objective without a term goes; a problem without a row gets one that always
/// holds. A row that stands for something else is over a variable of the source, if it has any.
/// Refused, with place and row, is a coefficient or bound beyond `largest_number`, and what
/// `linearise` refuses.
Result<StarForm> toStarForm(const Problem& source);

} // namespace formats

#endif
