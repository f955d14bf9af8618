/// \file
/// What the programs have in common as processes.
#include "Program.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "Display.h"
#include "Signals.h"

namespace process {

namespace {

Program self = {""};

/// How long somebody who insists on the end leaves the reader of our output, in milliseconds.
constexpr int patience = 1000;

/// Waits until standard output takes something, or for so many milliseconds (-1: for ever), or for
/// a signal. Whether the time has passed.
bool waitedInVain(int milliseconds) {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, milliseconds) == 0;
}

#ifdef __GLIBC__
/// Writes to standard output, whatever the time it takes. Less than `size` means an error.
ssize_t writeAll(void* /*cookie*/, const char* data, size_t size) {
  clearDisplay();
  size_t done = 0;
  while (done < size) {
    size_t piece = size - done;
    if (const int signal = insistentSignal()) {
      if (waitedInVain(patience)) dieOf(signal);
      piece = std::min(piece, size_t{PIPE_BUF}); // which does not block after all
    }
    const ssize_t written = write(STDOUT_FILENO, data + done, piece);
    if (written >= 0)
      done += static_cast<size_t>(written);
    else if (errno == EAGAIN)
      waitedInVain(-1);
    else if (errno != EINTR)
      break;
  }
  return static_cast<ssize_t>(done);
}

/// Puts the stream that waits in the place of `stdout`. Without memory things stay as they are.
void takeOverOutput() {
  std::FILE* const waiting = fopencookie(nullptr, "w", {nullptr, writeAll, nullptr, nullptr});
  if (waiting == nullptr) return;
  static char buffer[1 << 16];
  std::setvbuf(waiting, buffer, isatty(STDOUT_FILENO) != 0 ? _IOLBF : _IOFBF, sizeof buffer);
  stdout = waiting;
}
#else
void takeOverOutput() {} // `stdout` is not ours to replace: it fails where it could wait
#endif

/// Writes out what is left. Ends the process with a message if that, or any of it before, failed.
extern "C" void onExit() {
  const bool failed = std::ferror(stdout) != 0;
  if (std::fflush(stdout) == 0 && !failed) return;
  clearDisplay();
  std::fprintf(stderr, "%sstandard output cannot be written, the results are lost\n", self.prefix);
  // The stream still holds what it could not write; the rest of an exit would try in vain again.
  std::_Exit(self.no_output);
}

} // namespace

void begin(const Program& program) {
  self = program;
  takeOverOutput();
  std::atexit(onExit);
  std::set_new_handler(outOfMemory);
}

void flushOutput() {
  std::fflush(stdout);
}

void outOfMemory() {
  clearDisplay();
  std::fprintf(stderr, "%smemory exhausted\n", self.prefix);
  std::fflush(stdout);
  std::_Exit(self.no_memory);
}

void endNow(int code) {
  onExit();
  clearDisplay();
  std::_Exit(code);
}

void complain(std::string_view message) {
  clearDisplay();
  std::fprintf(stderr, "%s%s\n", self.prefix, visible(message).c_str());
}

std::string visible(std::string_view text) {
  static const char hex[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const unsigned code = static_cast<unsigned char>(c);
    if (code < 32 || code == 127)
      result += {'\\', 'x', hex[code >> 4], hex[code & 15]};
    else
      result += c;
  }
  return result;
}

} // namespace process
