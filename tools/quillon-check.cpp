/// \file
/// Verifies the output of a solver against the problem it solved.
#include "CommandLine.h"
#include "formats/Check.h"
#include "formats/InputFile.h"
#include "formats/NameMap.h"
#include "formats/ProblemReader.h"
#include "formats/SolverOutput.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

enum ExitCode : int {
  exit_holds = 0,
  exit_fails = 1,
  exit_usage = 2,
  exit_unreadable = 3,
  exit_nothing = 4
};

constexpr const char* help =
    "Usage: quillon-check [--map FILE] PROBLEM OUTPUT\n"
    "\n"
    "Verifies the value line of a solver's OUTPUT against every row of PROBLEM and the\n"
    "objective it states. PROBLEM is in the input format of quillon or in standard OPB;\n"
    "OUTPUT is that of quillon or of a solver that follows the competitions' conventions.\n"
    "Both may be packed with gzip, bzip2 or xz, and one may be \"-\" for standard input.\n"
    "The result is one line on standard output.\n"
    "\n"
    "  --map FILE    OUTPUT uses the new names of a map written by opb2quillon, PROBLEM\n"
    "                is the source with the old ones\n"
    "  --help        display this help\n"
    "  --version     display the version\n"
    "\n"
    "Exit code: 0 all that can be checked holds, 1 a claim is false, 2 wrong usage,\n"
    "3 a file cannot be read or understood (or the result cannot be written),\n"
    "4 OUTPUT has no solution to check. That a solution is optimal, or that a problem has\n"
    "none, is not checked.\n"
    "\n"
    "A row or objective whose variable has no value is a false claim, and so are a name\n"
    "that the problem does not have and a variable with both values.\n";

int complain(ExitCode code, const std::string& message) {
  std::fprintf(stderr, "quillon-check: %s\n", message.c_str());
  return code;
}

/// Prints `text`; `code`, or the code for unreadable files when it could not be printed.
int conclude(ExitCode code, const std::string& text) {
  const bool written = std::fputs(text.c_str(), stdout) >= 0;
  if (std::fflush(stdout) != 0 || !written)
    return complain(exit_unreadable, "standard output cannot be written");
  return code;
}

/// What `reader` makes of the file `path`. When it fails, so does this, after a message.
template <class T>
bool load(const std::string& path, formats::Result<T> (*reader)(std::string_view), T& value) {
  const auto bytes = formats::readInput(path);
  if (!bytes) {
    complain(exit_unreadable, path + ": " + bytes.error().message);
    return false;
  }
  auto result = reader(*bytes);
  if (!result) {
    complain(exit_unreadable, path + ":" + result.error().text());
    return false;
  }
  value = std::move(*result);
  return true;
}

int check(const std::string& problem_path, const std::string& output_path,
          const std::string& map_path) {
  formats::Problem problem;
  formats::SolverOutput output;
  formats::NameMap map;
  if (!map_path.empty() && !load(map_path, formats::readNameMap, map)) return exit_unreadable;
  if (!load(problem_path, formats::readProblem, problem)) return exit_unreadable;
  if (!load(output_path, formats::readSolverOutput, output)) return exit_unreadable;
  // Nothing at all is what a solver leaves that crashed; a script must not take it for UNKNOWN.
  if (output.answer == formats::Answer::none && !output.has_values)
    return complain(exit_unreadable, output_path + ": neither a verdict nor a value line");

  const formats::Report report = formats::checkOutput(problem, output, map);
  switch (report.kind) {
  case formats::Report::Kind::holds:
    return conclude(exit_holds, report.sentence + "\n");
  case formats::Report::Kind::fails:
    return conclude(exit_fails, report.sentence + "\n");
  case formats::Report::Kind::nothing:
    break;
  }
  return conclude(exit_nothing, report.sentence + "\n");
}

int run(const CommandLine& line) {
  if (line.help) return conclude(exit_holds, help);
  if (line.version) return conclude(exit_holds, "quillon-check " QUILLON_VERSION "\n");
  if (!line.wrong.empty()) return complain(exit_usage, line.wrong);
  if (line.files.size() != 2)
    return complain(exit_usage, "a problem and an output are needed; try --help");
  return check(line.files[0], line.files[1], line.map);
}

} // namespace

int main(int argc, char** argv) {
  return runTool("quillon-check", exit_unreadable, run, argc, argv);
}
