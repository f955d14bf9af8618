/// \file
/// What the programs have in common as processes: how their messages begin, and how they end when
/// memory is exhausted or their output cannot be written.
///
/// Standard output is a stream that waits where others fail: it outlasts a full pipe that does not
/// block, and interruptions. What it could not write in the end, it tells: see
/// `Program::no_output`.
#ifndef QUILLON_PROCESS_PROGRAM_H
#define QUILLON_PROCESS_PROGRAM_H

#include <string>
#include <string_view>

namespace process {

/// Exit codes for runs without a result; programs may have their own.
enum FailureCode : int {
  exit_no_memory = 71, ///< memory exhausted
  exit_no_output = 74  ///< the results could not be written
};

struct Program {
  const char* prefix; ///< of messages on standard error, "name: " for example; lives on
  int no_memory = exit_no_memory;
  int no_output = exit_no_output;
};

/// To be called first of all, once. From now on
/// - `std::exit`, and the return from `main`, flush standard output; if any of it could not be
///   written, a message goes to standard error and the exit code is `no_output`, so that no script
///   takes a lost answer for an answer;
/// - an allocation by `new` that fails ends the process, see `outOfMemory`.
void begin(const Program& program);

/// Writes out what has been printed so far. A failure is remembered and told at the end.
void flushOutput();

/// Ends the process with `no_memory` and a message, and with what has been printed so far.
[[noreturn]] void outOfMemory();

/// Ends the process at once as `std::exit` does, but for destructors and what has been registered
/// by others: any thread can call it, whatever the others are at. Once.
[[noreturn]] void endNow(int code);

/// Writes `message`, control characters made visible, behind the prefix to standard error.
void complain(std::string_view message);

/// `text` with each control character as \xNN, fit for a line that people read.
std::string visible(std::string_view text);

} // namespace process

#endif
