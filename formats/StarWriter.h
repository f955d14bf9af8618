/// \file
/// Writes a problem in our own format, one statement a line.
#ifndef QUILLON_FORMATS_STAR_WRITER_H
#define QUILLON_FORMATS_STAR_WRITER_H

#include "Problem.h"

#include <string>
#include <vector>

namespace formats {

/// The text of `problem`, headed by a line with its size and then by `comments`, a line each. The
/// problem must fit the format as one that `readStar` or `toStarForm` made does: legal names, a
/// row, a term in each row, 32-bit numbers; comments hold no control characters. Reading the text
/// gives the same problem, save that an objective's constant is dropped and that rows whose given
/// name is "r." and a number lose it, since it could clash with a name made up on reading.
std::string writeStar(const Problem& problem, const std::vector<std::string>& comments = {});

} // namespace formats

#endif
