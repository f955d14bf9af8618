/// \file
/// Converts problems in other formats into the input format of quillon.
#include "CommandLine.h"
#include "formats/InputFile.h"
#include "formats/NameMap.h"
#include "formats/ProblemReader.h"
#include "formats/StarForm.h"
#include "formats/StarWriter.h"
#include "process/Program.h"
#include "process/SameFile.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

enum ExitCode : int { exit_converted = 0, exit_refused = 1 };

constexpr const char* help =
    "Usage: opb2quillon [--format NAME] [--map FILE] [--limit SIZE] [INPUT [OUTPUT]]\n"
    "\n"
    "Converts a problem in OPB, WBO, CNF or WCNF into the input format of quillon; products\n"
    "and soft constraints get variables and rows of their own. INPUT may be packed with\n"
    "gzip, bzip2 or xz. INPUT and OUTPUT may be \"-\", the default, for standard input and\n"
    "output.\n"
    "\n"
    "  --format NAME do not tell the format by the content: star, opb, wbo, cnf or wcnf\n"
    "  --map FILE    write the variables that had to be renamed to FILE, lines NEW OLD;\n"
    "                without it they are listed in comments of the output\n"
    "  --limit SIZE  refuse an input of more bytes, unpacked, than SIZE (default 1G);\n"
    "                K, M and G stand for powers of 1024\n"
    "  --help        display this help\n"
    "  --version     display the version\n"
    "\n"
    "Exit code: 0 converted, 1 input refused (standard error says why), 2 wrong usage,\n"
    "3 a file cannot be read or written. OUTPUT is not touched unless the input converts.\n";

using process::isSameFile;
using File = process::NamedFile;

/// Reads `input` into a form that can be written; otherwise the exit code after a message. What it
/// was made from is gone when this returns.
int read(const File& input, std::size_t limit, std::optional<formats::Format> format,
         formats::StarForm& star) {
  auto bytes = formats::readInput(input.path, limit);
  if (!bytes) return complain(exit_io, input.path + ": " + bytes.error().message);
  const auto problem = formats::readProblem(*bytes, format);
  if (!problem) return complain(exit_refused, input.path + ":" + problem.error().text());
  *bytes = {};
  auto form = formats::toStarForm(*problem);
  if (!form) return complain(exit_refused, input.path + ":" + form.error().text());
  star = std::move(*form);
  return exit_converted;
}

int write(const formats::StarForm& star, const File& output, const std::string& map) {
  std::vector<std::string> comments = star.notes;
  if (map.empty())
    for (const auto& [new_name, old_name] : star.renamed)
      comments.push_back(new_name + " stands for " + (old_name.empty() ? "nothing" : old_name));
  else if (!writeOutput(map, formats::writeNameMap(star.renamed)))
    return complain(exit_io, map + ": " + std::strerror(errno));
  if (!writeOutput(output.path, formats::writeStar(star.problem, comments)))
    return complain(exit_io, output.path + ": " + std::strerror(errno));
  return exit_converted;
}

int run(const CommandLine& line) {
  if (line.files.size() > 2) return complain(exit_usage, "too many files; try --help");
  const std::optional<std::size_t> limit = parseSize(line.value("--limit", "1G"));
  if (!limit) return complain(exit_usage, "--limit needs a size like 4G");
  const File input = {line.files.empty() ? "-" : line.files[0], STDIN_FILENO};
  const File output = {line.files.size() < 2 ? "-" : line.files[1], STDOUT_FILENO};
  const File map = {line.value("--map"), STDOUT_FILENO};
  if (map.isStandard() && output.isStandard())
    return complain(exit_usage, "map and problem cannot both go to standard output");
  if (isSameFile(input, output)) return complain(exit_usage, "input and output are one file");
  if (!map.path.empty() && isSameFile(map, input))
    return complain(exit_usage, "map and input are one file");
  if (!map.path.empty() && isSameFile(map, output))
    return complain(exit_usage, "map and output are one file");
  const std::optional<formats::Format> format = formats::formatOf(line.value("--format"));
  if (!format && !line.value("--format").empty())
    return complain(exit_usage, std::string("--format needs ") + formats::format_names);
  formats::StarForm star;
  const int code = read(input, *limit, format, star);
  return code == exit_converted ? write(star, output, map.path) : code;
}

} // namespace

int main(int argc, char** argv) {
  process::begin({.prefix = "opb2quillon: ", .no_memory = exit_io, .no_output = exit_io});
  return runTool({"opb2quillon",
                  help,
                  {{"--format", "a format"}, {"--map", "a file"}, {"--limit", "a size"}},
                  run},
                 argc, argv);
}
