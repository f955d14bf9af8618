/// \file
/// Converts standard OPB into the input format of quillon.
#include "CommandLine.h"
#include "formats/InputFile.h"
#include "formats/NameMap.h"
#include "formats/OpbReader.h"
#include "formats/StarForm.h"
#include "formats/StarWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

enum ExitCode : int { exit_converted = 0, exit_refused = 1, exit_usage = 2, exit_io = 3 };

constexpr const char* help =
    "Usage: opb2quillon [--map FILE] [INPUT [OUTPUT]]\n"
    "\n"
    "Converts a linear pseudo-Boolean problem in standard OPB into the input format of\n"
    "quillon. INPUT may be packed with gzip, bzip2 or xz. INPUT and OUTPUT may be \"-\",\n"
    "the default, for standard input and output.\n"
    "\n"
    "  --map FILE    write the variables that had to be renamed to FILE, lines NEW OLD;\n"
    "                without it they are listed in comments of the output\n"
    "  --help        display this help\n"
    "  --version     display the version\n"
    "\n"
    "Exit code: 0 converted, 1 input refused (standard error says why), 2 wrong usage,\n"
    "3 a file cannot be read or written. OUTPUT is not touched unless the input converts.\n";

int complain(ExitCode code, const std::string& message) {
  std::fprintf(stderr, "opb2quillon: %s\n", message.c_str());
  return code;
}

/// Writes `text` to the file `path`, or to standard output for "-". False, with the reason in
/// `errno`, when any of it could not be written.
bool writeOutput(const std::string& path, const std::string& text) {
  if (path == "-") {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && written;
  }
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const int reason = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = reason;
  return written && closed;
}

int convert(const std::string& input, const std::string& output, const std::string& map) {
  const auto bytes = formats::readInput(input);
  if (!bytes) return complain(exit_io, input + ": " + bytes.error().message);
  const auto problem = formats::readOpb(*bytes);
  if (!problem) return complain(exit_refused, input + ":" + problem.error().text());
  auto star = formats::toStarForm(*problem);
  if (!star) return complain(exit_refused, input + ":" + star.error().text());

  std::vector<std::string> comments = std::move(star->notes);
  if (map.empty())
    for (const auto& [new_name, old_name] : star->renamed)
      comments.push_back(new_name + " stands for " + old_name);
  else if (!writeOutput(map, formats::writeNameMap(star->renamed)))
    return complain(exit_io, map + ": " + std::strerror(errno));
  if (!writeOutput(output, formats::writeStar(star->problem, comments)))
    return complain(exit_io, output + ": " + std::strerror(errno));
  return exit_converted;
}

int run(const CommandLine& line) {
  if (line.help || line.version)
    return writeOutput("-", line.help ? help : "opb2quillon " QUILLON_VERSION "\n")
               ? exit_converted
               : complain(exit_io, std::strerror(errno));
  if (!line.wrong.empty()) return complain(exit_usage, line.wrong);
  if (line.files.size() > 2) return complain(exit_usage, "too many files; try --help");
  const std::string input = line.files.empty() ? "-" : line.files[0];
  const std::string output = line.files.size() < 2 ? "-" : line.files[1];
  if (line.map == "-" && output == "-")
    return complain(exit_usage, "map and problem cannot both go to standard output");
  return convert(input, output, line.map);
}

} // namespace

int main(int argc, char** argv) {
  return runTool("opb2quillon", exit_io, run, argc, argv);
}
