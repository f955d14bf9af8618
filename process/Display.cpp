/// \file
/// The status display.
#include "Display.h"

#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace process {

namespace {

constexpr Ticks line_period = ticks_per_second / 5; ///< between two refreshments
constexpr Ticks log_period = ticks_per_second;      ///< between two lines of the log

bool shown = false; ///< a status line stands on the terminal
void (*hook)() = nullptr;

extern "C" void onTimer(int) {
  hook();
}

/// Has `hook` called every so often from now on; 0 ends that.
void setTimer(Ticks period) {
  struct sigaction action = {};
  action.sa_handler = period != 0 ? onTimer : SIG_IGN;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGALRM, &action, nullptr);
  itimerval timer = {};
  timer.it_interval.tv_sec = period / ticks_per_second;
  timer.it_interval.tv_usec = period % ticks_per_second;
  timer.it_value = timer.it_interval;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

/// Whether the terminal is ours to draw on. A shell's background job is not to disturb what its
/// user types meanwhile; a terminal that controls no jobs belongs to whoever has it.
bool inForeground() {
  const pid_t foreground = tcgetpgrp(STDERR_FILENO);
  return foreground < 0 || foreground == getpgrp();
}

/// Columns of the terminal, or a safe number if it does not tell.
size_t terminalWidth() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

/// Text of bounded length; what goes beyond is left out.
class Line {
  char text[512] = "";
  size_t length = 0;

 public:
  [[gnu::format(printf, 2, 3)]] void add(const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int added = std::vsnprintf(text + length, sizeof text - length, format, values);
    va_end(values);
    if (added > 0) length = std::min(length + static_cast<size_t>(added), sizeof text - 1);
  }
  void addTime() {
    const std::time_t t = std::time(nullptr);
    std::tm utc = {};
    gmtime_r(&t, &utc);
    length += std::strftime(text + length, sizeof text - length, "%Y-%m-%dT%H:%M:%SZ ", &utc);
  }
  void cut(size_t columns) { text[std::min(length, columns)] = '\0'; }
  const char* c_str() const { return text; }
};

void describe(const Snapshot& s, Ticks start, Line& line) {
  line.add("%.1f s, %lld conflicts, %lld restarts, %lld learnt", seconds(wallTicks() - start),
           static_cast<long long>(s.conflicts), static_cast<long long>(s.restarts),
           static_cast<long long>(s.learnt));
  if (s.best != nullptr)
    line.add(", best objective %s at %.1f s", s.best, seconds(s.best_time - start));
  if (s.bound != nullptr) line.add(", bound %s", s.bound);
  if (s.gap) line.add(", gap %.2f %%", 100 * *s.gap);
}

} // namespace

Display::Display(const char* variable, void (*when_due)()) : start(wallTicks()) {
  const char* const wish = std::getenv(variable);
  const bool terminal = isatty(STDERR_FILENO) != 0;
  const bool on = wish != nullptr && std::strcmp(wish, "1") == 0;
  const bool off = wish != nullptr && std::strcmp(wish, "0") == 0;
  if (terminal && !off) mode = Mode::line;
  if (!terminal && on) mode = Mode::log;
  if (mode == Mode::off) return;
  hook = when_due;
  setTimer(mode == Mode::line ? line_period : log_period);
}

void Display::show(const Snapshot& snapshot) const {
  if (mode == Mode::off || (mode == Mode::line && !inForeground())) return;
  Line line;
  line.add("c ");
  if (mode == Mode::log) line.addTime();
  describe(snapshot, start, line);
  if (mode == Mode::log) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return;
  }
  line.cut(std::max<size_t>(1, terminalWidth() - 1)); // a line that wraps could not be erased
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  shown = true;
}

void Display::end() {
  if (mode == Mode::off) return;
  setTimer(0);
  clearDisplay();
  mode = Mode::off;
}

void clearDisplay() {
  if (shown && inForeground()) std::fputs("\r\033[K", stderr);
  shown = false;
}

} // namespace process
