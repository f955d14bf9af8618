/// \file
/// Options, messages and the frame around each tool's own work.
#include "CommandLine.h"

#include "formats/Integer.h"
#include "formats/Lexical.h"
#include "process/Program.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

CommandLine::CommandLine(int argc, char** argv, const std::vector<Option>& options) {
  for (int i = 1; i < argc && !help && !version && wrong.empty(); i++) {
    const std::string_view argument = argv[i];
    const auto option = std::find_if(options.begin(), options.end(),
                                     [&](const Option& known) { return known.name == argument; });
    if (argument == "--help") {
      help = true;
    } else if (argument == "--version") {
      version = true;
    } else if (option != options.end()) {
      if (++i == argc || *argv[i] == '\0')
        wrong = std::string(option->name) + " needs " + std::string(option->value);
      else
        values.emplace_back(option->name, argv[i]);
    } else if (argument.size() > 1 && argument[0] == '-') {
      wrong = "unknown option " + std::string(argument) + "; try --help";
    } else {
      files.emplace_back(argument);
    }
  }
}

std::string CommandLine::value(std::string_view name, std::string otherwise) const {
  for (const auto& [given, text] : values)
    if (given == name) otherwise = text;
  return otherwise;
}

std::optional<std::size_t> parseSize(std::string_view text) {
  formats::Int unit = 1;
  constexpr std::string_view units = "KMG";
  const std::size_t found = text.empty() ? units.npos : units.find(text.back());
  if (found != units.npos) {
    unit <<= 10 * (found + 1);
    text.remove_suffix(1);
  }
  if (text.empty() || !formats::isDigit(text.front())) return std::nullopt;
  const std::optional<formats::Int> count = formats::parseInt(text);
  if (!count || *count > std::numeric_limits<std::size_t>::max() / unit) return std::nullopt;
  return static_cast<std::size_t>(*count * unit);
}

int runTool(const Tool& tool, int argc, char** argv) {
  try {
    const CommandLine line(argc, argv, tool.options);
    if (line.help || line.version) {
      writeOutput("-", line.help ? tool.help : std::string(tool.name) + " " QUILLON_VERSION "\n");
      return 0;
    }
    return line.wrong.empty() ? tool.run(line) : complain(exit_usage, line.wrong);
  } catch (const std::bad_alloc&) { // a decoder's
    process::outOfMemory();
  }
}

int complain(int code, std::string_view message) {
  process::complain(message);
  return code;
}

bool writeOutput(const std::string& path, std::string_view text) {
  if (path == "-") {
    std::fwrite(text.data(), 1, text.size(), stdout); // a failure is told at the end
    return true;
  }
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const int reason = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = reason;
  return written && closed;
}
