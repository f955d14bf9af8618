/// \file
/// The choice between the readers.
#include "ProblemReader.h"

#include "DimacsReader.h"
#include "OpbReader.h"
#include "StarReader.h"

#include <string>
#include <utility>

namespace formats {
namespace {

/// By `Format`.
constexpr const char* names[] = {"star", "opb", "wbo", "cnf", "wcnf"};

Result<Problem> readAs(Format format, std::string_view text) {
  const bool is_dimacs = format == Format::cnf || format == Format::wcnf;
  Result<Problem> result = is_dimacs                ? readDimacs(text)
                           : format == Format::star ? readStar(text)
                                                    : readOpb(text);
  if (!result || result->format == format) return result;
  return Error{Place::at(1, 1), std::string("the text is in the format ") + nameOf(result->format) +
                                    ", not " + nameOf(format)};
}

} // namespace

const char* nameOf(Format format) {
  return names[static_cast<int>(format)];
}

std::optional<Format> formatOf(std::string_view name) {
  for (const Format format : {Format::star, Format::opb, Format::wbo, Format::cnf, Format::wcnf})
    if (nameOf(format) == name) return format;
  return std::nullopt;
}

Result<Problem> readProblem(std::string_view text, std::optional<Format> format) {
  if (format) return readAs(*format, text);
  if (isDimacs(text)) return readDimacs(text);
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
