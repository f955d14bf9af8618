/// \file
/// What the tools have in common: a command line with options from a table, messages, the result on
/// standard output, and an orderly end when memory is exhausted.
#ifndef QUILLON_TOOLS_COMMAND_LINE_H
#define QUILLON_TOOLS_COMMAND_LINE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The exit codes that mean the same in every tool. A tool's own are 0, 1 and those from 4.
enum ToolExit : int { exit_usage = 2, exit_io = 3 };

/// An option with a value, given as two arguments.
struct Option {
  std::string_view name;  ///< with its dashes
  std::string_view value; ///< what the value is, for the message when it is missing
};

/// A command line taken apart.
class CommandLine {
  std::vector<std::pair<std::string_view, std::string>> values;

 public:
  bool help = false;
  bool version = false;
  std::string wrong; ///< what is wrong with it, empty if nothing
  std::vector<std::string> files;

  /// Stops at the first `--help`, `--version` or fault.
  CommandLine(int argc, char** argv, const std::vector<Option>& options);

  /// The last value given to the option `name`, never an empty one; `otherwise` without any.
  std::string value(std::string_view name, std::string otherwise = "") const;
};

/// The number of bytes that `text` states: digits, then K, M, G for powers of 1024, or nothing.
/// Without a value when it states none, or none that fits.
std::optional<std::size_t> parseSize(std::string_view text);

/// What sets one tool apart from the others.
struct Tool {
  const char* name;
  const char* help; ///< the whole text of `--help`
  std::vector<Option> options;
  int (*run)(const CommandLine&); ///< gets command lines with nothing wrong; the exit code
};

/// Runs `tool`, having seen to `--help`, `--version` and wrong usage; the exit code. Comes after
/// `process::begin`.
int runTool(const Tool& tool, int argc, char** argv);

/// Writes `message` to standard error, see `process::complain`, and returns `code`.
int complain(int code, std::string_view message);

/// Writes `text` to the file `path`, or to standard output for "-". False, with the reason in
/// `errno`, when any of it could not be written; what standard output refuses ends the process
/// later, see `process::begin`.
bool writeOutput(const std::string& path, std::string_view text);

#endif
