/// \file
/// Fuzz target for the readers of the formats library: any bytes as a problem in each format, as a
/// solver's output and as a map; what is accepted must survive being written and read again.
#include "formats/NameMap.h"
#include "formats/OpbReader.h"
#include "formats/ProblemReader.h"
#include "formats/QuillonOutput.h"
#include "formats/StarForm.h"
#include "formats/StarReader.h"
#include "formats/StarWriter.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

bool same(const formats::Problem& a, formats::Form f, const formats::Problem& b, formats::Form g) {
  if (f.size() != g.size()) return false;
  for (size_t i = 0; i < f.size(); i++)
    if (f[i].coefficient != g[i].coefficient ||
        a.variables[f[i].variable] != b.variables[g[i].variable])
      return false;
  return true;
}

/// Writes `problem` and reads it again, which must give the same.
void requireRoundTrip(const formats::Problem& problem) {
  const auto again = formats::readStar(formats::writeStar(problem));
  require(static_cast<bool>(again));
  require(again->objective.sense == problem.objective.sense);
  require(same(problem, problem.objective.form, *again, again->objective.form));
  require(again->rows.size() == problem.rows.size());
  for (size_t i = 0; i < problem.rows.size(); i++) {
    require(again->rows[i].relation == problem.rows[i].relation);
    require(again->rows[i].bound == problem.rows[i].bound);
    require(same(problem, problem.rows[i].form, *again, again->rows[i].form));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const auto star = formats::readStar(text);
  if (star) requireRoundTrip(*star);
  const auto opb = formats::readOpb(text);
  if (opb) {
    const auto form = formats::toStarForm(*opb);
    if (form) requireRoundTrip(form->problem);
  }
  (void)formats::readNameMap(text);
  (void)formats::readQuillonOutput(text);

  // A problem and an output, one behind the other.
  constexpr std::string_view divider = "\n%\n";
  const size_t cut = text.find(divider);
  if (cut == std::string_view::npos) return 0;
  const auto problem = formats::readProblem(text.substr(0, cut));
  const auto output = formats::readQuillonOutput(text.substr(cut + divider.size()));
  if (problem && output) require(!formats::checkQuillonOutput(*problem, *output).sentence.empty());
  return 0;
}
