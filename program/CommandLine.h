/// \file
/// The command line of `estoc`.
#ifndef QUILLON_PROGRAM_COMMAND_LINE_H
#define QUILLON_PROGRAM_COMMAND_LINE_H

#include "estoc/Options.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What the user wants.
struct Settings {
  std::string file = "-";                    ///< "-" for standard input
  std::string format;                        ///< empty: as the content shows
  std::optional<double> time_limit;          ///< seconds on the wall
  std::optional<double> cpu_limit;           ///< seconds of processor time
  std::optional<std::uint64_t> memory_limit; ///< MB of 2^20 bytes
  int verbosity = 1;  ///< 0: results only, 1: bounds and the frame of the run, 2: counters, too
  bool values = true; ///< print the values of a solution
  std::string stats;  ///< file for statistics, empty for none
  std::string report; ///< file for the report, empty for none
  std::string proof;  ///< file for the proof, empty for none
  std::string proof_version = "3.0";
  std::string opb; ///< file for the problem in linear OPB, which the proof is about then
  estoc::Options engine;
  std::vector<std::string> command; ///< the words of the command line
  /// The options that were given another value than they have without; those that take none have
  /// an empty one here. Not the report's own.
  std::vector<std::pair<std::string, std::string>> changed;
};

/// Takes the command line apart. Help, version and wrong usage end the process, after a text.
Settings parseCommandLine(int argc, char** argv);

#endif
