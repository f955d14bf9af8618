/// \file
/// The formats and their readers.
#include "Input.h"

#include "formats/OpbReader.h"
#include "formats/ProblemReader.h"
#include "formats/StarReader.h"

#include <utility>

namespace {

struct Format {
  std::string_view name;
  formats::Result<formats::Problem> (*read)(std::string_view text);
  Dialect dialect;
};

constexpr Format known_formats[] = {
    {"auto", formats::readProblem, Dialect::pseudo_boolean},
    {"opb", formats::readOpb, Dialect::pseudo_boolean},
    {"quillon", formats::readStar, Dialect::pseudo_boolean},
};

} // namespace

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const Format& format : known_formats) names.emplace_back(format.name);
  return names;
}

formats::Result<Input> readInputText(std::string_view text, std::string_view name) {
  const Format* format = known_formats;
  while (format->name != name) format++;
  formats::Result<formats::Problem> problem = format->read(text);
  if (!problem) return problem.error();
  return Input{std::move(*problem), format->dialect};
}
