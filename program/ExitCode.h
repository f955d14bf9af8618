/// \file
/// How `estoc` ends.
#ifndef QUILLON_PROGRAM_EXIT_CODE_H
#define QUILLON_PROGRAM_EXIT_CODE_H

#include "process/Program.h"

/// The exit codes of `estoc`; `process::exit_no_memory` and `process::exit_no_output` are two more.
enum ExitCode : int {
  exit_unknown = 0,        ///< no verdict, or help was asked for
  exit_satisfiable = 10,   ///< a solution, with an objective perhaps not the best one
  exit_unsatisfiable = 20, ///< there is no solution
  exit_optimum = 30,       ///< an optimal solution
  exit_usage = 64,         ///< a wrong command line
  exit_bad_input = 65,     ///< the text is no problem
  exit_no_input = 66,      ///< the file cannot be read
  exit_internal = 70       ///< a check of the program's own answer failed
};

#endif
