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
  if (std::pair(a.line, a.column) > std::pair(b.line, b.column)) return star;
  return opb;
}

} // namespace formats
