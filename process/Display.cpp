/// \file
/// The status display.
#include "Display.h"

#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
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

std::string stamp() {
  const std::time_t t = std::time(nullptr);
  std::tm utc = {};
  gmtime_r(&t, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

/// Columns of the terminal, or a safe number if it does not tell.
size_t terminalWidth() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

template <class... Values> std::string format(const char* how, Values... values) {
  char text[128];
  std::snprintf(text, sizeof text, how, values...);
  return text;
}

std::string describe(const Snapshot& s, Ticks start) {
  std::string text = format("%.1f s, %lld conflicts, %lld restarts, %lld learnt",
                            seconds(wallTicks() - start), static_cast<long long>(s.conflicts),
                            static_cast<long long>(s.restarts), static_cast<long long>(s.learnt));
  if (!s.best.empty())
    text += ", best objective " + s.best + format(" at %.1f s", seconds(s.best_time - start));
  if (!s.bound.empty()) text += ", bound " + s.bound;
  if (s.gap) text += format(", gap %.2f %%", 100 * *s.gap);
  return text;
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
  const std::string text = describe(snapshot, start);
  if (mode == Mode::log) std::fprintf(stderr, "c %s %s\n", stamp().c_str(), text.c_str());
  if (mode != Mode::line || !inForeground()) return;
  // A line that wraps could not be erased.
  const std::string line = ("c " + text).substr(0, std::max<size_t>(1, terminalWidth() - 1));
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
