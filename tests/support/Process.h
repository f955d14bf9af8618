/// \file
/// Runs programs of the build as a user's script would, with everything they say collected.
#ifndef QUILLON_TESTS_PROCESS_H
#define QUILLON_TESTS_PROCESS_H

#include <string>
#include <utility>
#include <vector>

/// What came of a process.
struct Finished {
  std::string out; ///< standard output, empty if it went elsewhere
  std::string err; ///< standard error
  int exit = -1;   ///< exit code, -1 if a signal ended the process
  int signal = 0;  ///< the signal that ended the process
};

/// A process under way.
class Process {
  int pid = -1;
  std::string dir; ///< holds the files behind standard input, output and error

 public:
  struct Setup {
    std::string program = {}; ///< a name in the build directory
    std::vector<std::string> arguments = {};
    std::vector<std::pair<std::string, std::string>> environment = {}; ///< added to ours
    std::string input = {};                                            ///< text for standard input
    std::string input_file = {};                                       ///< or a file for it
    int input_fd = -1;                                                 ///< or a descriptor
    bool close_input = false;                                          ///< or nothing at all
    std::string output_file = {}; ///< standard output goes there instead of being collected
    int output_fd = -1;           ///< or to this descriptor
    bool close_output = false;    ///< or nowhere
    int error_fd = -1;            ///< standard error goes there instead of being collected
    long address_space = 0;       ///< limit in bytes; 0 for none
    long stack = 0;               ///< the same
    long file_size = 0;           ///< the same, for each file it writes
  };

  explicit Process(const Setup& setup);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void send(int signal) const;
  /// Waits until standard error holds `text`, or the process has ended; whether it does.
  bool waitForError(const std::string& text) const;
  /// Waits until standard output holds `text`, or the process has ended; whether it does.
  bool waitForOutput(const std::string& text) const;
  /// Seconds of processor time the process has used so far.
  double processorTime() const;
  /// Waits for the end.
  Finished finish();
};

/// Runs a process to its end.
Finished run(const Process::Setup& setup);

/// The whole of a file.
/// \throws std::runtime_error if it cannot be read
std::string slurp(const std::string& path);

#endif
