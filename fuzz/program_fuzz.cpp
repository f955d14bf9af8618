/// \file
/// Whole runs of the program on generated problems. The input bytes choose the problem; the
/// program, run as a process, must give the verdict, a value line and an objective that agree with
/// trying all assignments.
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "ByteDraws.h"
#include "Generators.h"
#include "Process.h"
#include "formats/QuillonOutput.h"
#include "formats/StarReader.h"

namespace {

void demand(bool holds, const char* what, const std::string& text, const Finished& f) {
  if (holds) return;
  std::fprintf(stderr, "%s\n--- problem\n%s--- exit code %d, output\n%s", what, text.c_str(),
               f.exit, f.out.c_str());
  std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteDraws draws(data, size);
  plain::Problem plain = plain::someProblem(draws);
  if (draws.oneIn(2)) plain::addObjective(draws, plain);
  // Something to read must be there.
  if (plain.rows.empty()) plain.rows.push_back({{{0, 1}}, plain::Relation::at_least, 0});
  const std::string text = plain::text(plain);
  const Finished f = run({.program = "quillon", .arguments = {"--t", "100"}, .input = text});
  const auto problem = formats::readStar(text);
  const auto output = formats::readQuillonOutput(f.out);
  demand(static_cast<bool>(problem), "not a problem", text, f);
  demand(static_cast<bool>(output), "unreadable output", text, f);

  // An objective whose terms all cancel counts as none.
  const bool has_objective = plain.objective && !plain::merged(*plain.objective).empty();
  if (!has_objective) plain.objective.emplace();
  const std::optional<plain::Int> best = plain::optimum(plain);
  demand(f.exit == (!best ? 20 : has_objective ? 30 : 10), "wrong exit code", text, f);
  demand(output->answer == (!best           ? formats::Answer::unsatisfiable
                            : has_objective ? formats::Answer::optimum
                                            : formats::Answer::satisfiable),
         "wrong verdict", text, f);
  demand(output->has_values == best.has_value(), "values and verdict disagree", text, f);
  if (!best) return 0;
  demand(formats::checkQuillonOutput(*problem, *output).kind == formats::Report::Kind::holds,
         "the value line does not hold", text, f);
  if (has_objective)
    demand(output->reported ==
               std::vector<formats::Int>{formats::reportedObjective(problem->objective, *best)},
           "not the optimum", text, f);
  return 0;
}
