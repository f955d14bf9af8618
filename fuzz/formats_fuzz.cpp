/// \file
/// Fuzz target for the readers of the formats library: any bytes as a problem in each format, as a
/// solver's output and as a map. What is refused has a place and a reason; what is accepted must
/// survive being written and read again, and its linear form must mean what the check says it does.
#include "formats/Check.h"
#include "formats/DimacsReader.h"
#include "formats/Linear.h"
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

bool holds(const formats::Row& row, const formats::Assignment& assignment) {
  const formats::Int left = *formats::valueOf(row.form, assignment);
  return (row.relation == formats::Relation::at_most || left >= row.bound) &&
         (row.relation == formats::Relation::at_least || left <= row.bound);
}

/// Whether the first `count` of `rows` hold.
bool hold(const formats::Rows& rows, const formats::Assignment& assignment, size_t count) {
  for (size_t i = 0; i < count; i++)
    if (!holds(rows[i], assignment)) return false;
  return true;
}

/// Under values drawn from `bits`, the linear problem must come to what the check says of the text.
void requireLinearMeansTheSame(const formats::Problem& problem, std::uint64_t bits) {
  const auto linear = formats::linearise(problem);
  if (!linear) {
    require(linear.error().beyond_width);
    return;
  }
  const int relaxing = linear->variables - problem.variables.size();
  if (relaxing > 30 || linear->rows.size() > 1000) return; // what follows takes the square of these
  formats::Assignment assignment;
  for (int v = 0; v < linear->variables; v++) {
    bits = bits * 6364136223846793005 + 1442695040888963407;
    assignment.push_back(v >= problem.variables.size() || bits >> 63 != 0
                             ? formats::Value::positive
                             : formats::Value::negative);
  }
  for (size_t i = 0; i < problem.products.size(); i++) {
    const formats::Product product = problem.products[i];
    bool value = true;
    for (const formats::Literal factor : product.factors)
      value =
          value && assignment[static_cast<size_t>(factor.variable())] ==
                       (factor.isNegated() ? formats::Value::negative : formats::Value::positive);
    assignment[static_cast<size_t>(product.variable)] =
        value ? formats::Value::positive : formats::Value::negative;
  }
  const formats::Evaluation found = formats::evaluate(problem, assignment);
  require(found.kind != formats::Evaluation::Kind::undetermined);
  if (found.kind == formats::Evaluation::Kind::violated) return;

  // Costs are not negative, so the best is to relax only what must be; the top comes last.
  require(hold(problem.rows, assignment, problem.rows.size()));
  const size_t count = linear->rows.size() - (problem.soft.top ? 1 : 0);
  require(hold(linear->rows, assignment, count));
  for (int v = problem.variables.size(); v < linear->variables; v++) {
    formats::Value& relaxation = assignment[static_cast<size_t>(v)];
    relaxation = formats::Value::negative;
    if (!hold(linear->rows, assignment, count)) relaxation = formats::Value::positive;
  }
  require(hold(linear->rows, assignment, linear->rows.size()));
  require(linear->optimises == found.objective.has_value());
  if (!found.objective) return;
  const formats::Int value = *formats::valueOf(linear->objective, assignment) + linear->constant;
  require(value == (linear->negated ? -*found.objective : *found.objective));
}

/// Reads `text` in `format`; what must be true of the outcome.
void readAndHold(std::string_view text, formats::Format format) {
  const auto problem = formats::readProblem(text, format);
  if (!problem) {
    require(problem.error().place.line != 0 && !problem.error().message.empty());
    return;
  }
  require(problem->format == format);
  const auto form = formats::toStarForm(*problem);
  if (form) requireRoundTrip(form->problem);
  for (const std::uint64_t seed : {0, 1, 2}) requireLinearMeansTheSame(*problem, seed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const auto star = formats::readStar(text);
  if (star) requireRoundTrip(*star);
  if (formats::isDimacs(text)) require(!star && !formats::readOpb(text));
  for (const formats::Format format :
       {formats::Format::star, formats::Format::opb, formats::Format::wbo, formats::Format::cnf,
        formats::Format::wcnf})
    readAndHold(text, format);
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
