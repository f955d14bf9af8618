/// \file
/// Verifies the output of a solver against the problem it solved.
#include "CommandLine.h"
#include "formats/InputFile.h"
#include "formats/NameMap.h"
#include "formats/ProblemReader.h"
#include "formats/QuillonOutput.h"
#include "process/Program.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

enum ExitCode : int { exit_holds = 0, exit_fails = 1, exit_nothing = 4 };

constexpr const char* help =
    "Usage: quillon-check [--format NAME] [--map FILE] [--limit SIZE] PROBLEM OUTPUT\n"
    "\n"
    "Verifies the value line of a solver's OUTPUT against every row of PROBLEM and the\n"
    "objective it states, which is the cost of what is violated where constraints are\n"
    "soft. PROBLEM is in the input format of quillon or in OPB, WBO, CNF or WCNF;\n"
    "OUTPUT is that of quillon or of a solver that follows the competitions' conventions.\n"
    "Both may be packed with gzip, bzip2 or xz, and one may be \"-\" for standard input.\n"
    "The result is one line on standard output.\n"
    "\n"
    "  --format NAME do not tell the format of PROBLEM by the content: star, opb, wbo,\n"
    "                cnf or wcnf\n"
    "  --map FILE    OUTPUT uses the new names of a map written by opb2quillon, PROBLEM\n"
    "                is the source with the old ones\n"
    "  --limit SIZE  refuse a file of more bytes, unpacked, than SIZE (default 1G);\n"
    "                K, M and G stand for powers of 1024\n"
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

/// Prints `sentence` as a line; `code`.
int conclude(int code, const std::string& sentence) {
  writeOutput("-", process::visible(sentence) + "\n");
  return code;
}

/// What `reader` makes of the file `path`. When it fails, so does this, after a message.
template <class T, class Reader>
bool load(const std::string& path, std::size_t limit, const Reader& reader, T& value) {
  const auto bytes = formats::readInput(path, limit);
  if (!bytes) {
    complain(exit_io, path + ": " + bytes.error().message);
    return false;
  }
  formats::Result<T> result = reader(*bytes);
  if (!result) {
    complain(exit_io, path + ":" + result.error().text());
    return false;
  }
  value = std::move(*result);
  return true;
}

int check(const std::string& problem_path, const std::string& output_path,
          std::optional<formats::Format> format, const std::string& map_path, std::size_t limit) {
  const auto read = [&](std::string_view text) { return formats::readProblem(text, format); };
  formats::Problem problem;
  formats::QuillonOutput output;
  formats::NameMap map;
  if (!map_path.empty() && !load(map_path, limit, formats::readNameMap, map)) return exit_io;
  if (!load(problem_path, limit, read, problem)) return exit_io;
  if (!load(output_path, limit, formats::readQuillonOutput, output)) return exit_io;
  // Nothing at all is what a solver leaves that crashed; a script must not take it for UNKNOWN.
  if (output.answer == formats::Answer::none && !output.has_values)
    return complain(exit_io, output_path + ": neither a verdict nor a value line");

  const formats::Report report = formats::checkQuillonOutput(problem, output, map);
  switch (report.kind) {
  case formats::Report::Kind::holds:
    return conclude(exit_holds, report.text());
  case formats::Report::Kind::fails:
    return conclude(exit_fails, report.text());
  case formats::Report::Kind::nothing:
    break;
  }
  return conclude(exit_nothing, report.text());
}

int run(const CommandLine& line) {
  if (line.files.size() != 2)
    return complain(exit_usage, "a problem and an output are needed; try --help");
  const std::optional<std::size_t> limit = parseSize(line.value("--limit", "1G"));
  if (!limit) return complain(exit_usage, "--limit needs a size like 4G");
  const std::optional<formats::Format> format = formats::formatOf(line.value("--format"));
  if (!format && !line.value("--format").empty())
    return complain(exit_usage, std::string("--format needs ") + formats::format_names);
  return check(line.files[0], line.files[1], format, line.value("--map"), *limit);
}

} // namespace

int main(int argc, char** argv) {
  process::begin({.prefix = "quillon-check: ", .no_memory = exit_io, .no_output = exit_io});
  return runTool({"quillon-check",
                  help,
                  {{"--format", "a format"}, {"--map", "a file"}, {"--limit", "a size"}},
                  run},
                 argc, argv);
}
