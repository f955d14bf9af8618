/// \file
/// Converts standard OPB into the input format of quillon.
#include "formats/InputFile.h"
#include "formats/NameMap.h"
#include "formats/OpbReader.h"
#include "formats/StarForm.h"
#include "formats/StarWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
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

struct Options {
  std::string input = "-";
  std::string output = "-";
  std::string map; ///< empty for none
};

int convert(const Options& options) {
  const auto bytes = formats::readInput(options.input);
  if (!bytes) return complain(exit_io, options.input + ": " + bytes.error().message);
  const auto problem = formats::readOpb(*bytes);
  if (!problem) return complain(exit_refused, options.input + ":" + problem.error().text());
  auto star = formats::toStarForm(*problem);
  if (!star) return complain(exit_refused, options.input + ":" + star.error().text());

  std::vector<std::string> comments = std::move(star->notes);
  if (options.map.empty())
    for (const auto& [new_name, old_name] : star->renamed)
      comments.push_back(new_name + " stands for " + old_name);
  else if (!writeOutput(options.map, formats::writeNameMap(star->renamed)))
    return complain(exit_io, options.map + ": " + std::strerror(errno));
  if (!writeOutput(options.output, formats::writeStar(star->problem, comments)))
    return complain(exit_io, options.output + ": " + std::strerror(errno));
  return exit_converted;
}

int run(int argc, char** argv) {
  Options options;
  std::vector<std::string> files;
  for (int i = 1; i < argc; i++) {
    const std::string_view argument = argv[i];
    if (argument == "--help")
      return writeOutput("-", help) ? exit_converted : complain(exit_io, std::strerror(errno));
    if (argument == "--version")
      return writeOutput("-", "opb2quillon " QUILLON_VERSION "\n")
                 ? exit_converted
                 : complain(exit_io, std::strerror(errno));
    if (argument == "--map") {
      if (++i == argc || *argv[i] == '\0') return complain(exit_usage, "--map needs a file");
      options.map = argv[i];
    } else if (argument.size() > 1 && argument[0] == '-') {
      return complain(exit_usage, "unknown option " + std::string(argument) + "; try --help");
    } else {
      files.emplace_back(argument);
    }
  }
  if (files.size() > 2) return complain(exit_usage, "too many files; try --help");
  if (!files.empty()) options.input = files[0];
  if (files.size() == 2) options.output = files[1];
  if (options.map == "-" && options.output == "-")
    return complain(exit_usage, "map and problem cannot both go to standard output");
  return convert(options);
}

[[noreturn]] void outOfMemory() {
  std::fputs("opb2quillon: memory exhausted\n", stderr);
  std::_Exit(exit_io);
}

} // namespace

int main(int argc, char** argv) {
  std::set_new_handler(outOfMemory); // there may be no memory left to throw an exception with
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) { // a decoder's
    outOfMemory();
  }
}
