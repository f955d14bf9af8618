/// \file
/// What the command lines of the tools have in common: `--map FILE`, `--help`, `--version`, files,
/// and an orderly end when memory is exhausted.
#ifndef QUILLON_TOOLS_COMMAND_LINE_H
#define QUILLON_TOOLS_COMMAND_LINE_H

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <vector>

/// A command line taken apart.
struct CommandLine {
  bool help = false;
  bool version = false;
  std::string wrong; ///< what is wrong with it, empty if nothing
  std::string map;   ///< the file named by `--map`, empty for none
  std::vector<std::string> files;

  /// Stops at the first `--help`, `--version` or fault.
  CommandLine(int argc, char** argv) {
    for (int i = 1; i < argc && !help && !version && wrong.empty(); i++) {
      const std::string_view argument = argv[i];
      if (argument == "--help") {
        help = true;
      } else if (argument == "--version") {
        version = true;
      } else if (argument == "--map") {
        if (++i == argc || *argv[i] == '\0')
          wrong = "--map needs a file";
        else
          map = argv[i];
      } else if (argument.size() > 1 && argument[0] == '-') {
        wrong = "unknown option " + std::string(argument) + "; try --help";
      } else {
        files.emplace_back(argument);
      }
    }
  }
};

/// The exit code of `run`; when memory is exhausted the process ends with `exit_no_memory`, after a
/// message that names `program`.
inline int runTool(const char* program, int exit_no_memory, int (*run)(const CommandLine&),
                   int argc, char** argv) {
  static const char* name;
  static int code;
  name = program;
  code = exit_no_memory;
  const auto end = [] {
    std::fprintf(stderr, "%s: memory exhausted\n", name);
    std::_Exit(code);
  };
  std::set_new_handler(end); // there may be no memory left to throw an exception with
  try {
    return run(CommandLine(argc, argv));
  } catch (const std::bad_alloc&) { // a decoder's
    end();
  }
  return exit_no_memory;
}

#endif
