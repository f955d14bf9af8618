/// \file
/// The choice between the readers.
#include "ProblemReader.h"

#include "OpbReader.h"
#include "StarReader.h"

#include <utility>

namespace formats {

Result<Problem> readProblem(std::string_view text) {
  Result<Problem> star = readStar(text);
  if (star) return star;
  Result<Problem> opb = readOpb(text);
  if (opb) return opb;
  const Place& a = star.error().place;
  const Place& b = opb.error().place;
  const bool star_got_further = std::pair(a.line, a.column) > std::pair(b.line, b.column);
  // cppcheck-suppress duplicateValueTernary ; two objects of one type, not one value
  return std::move(star_got_further ? star : opb);
}

} // namespace formats
