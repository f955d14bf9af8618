/// \file
/// The status display.
#include "Progress.h"

#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

constexpr int line_period = 200000; ///< microseconds between two refreshments
constexpr int log_period = 1000000; ///< microseconds between two lines of the log

bool shown = false; ///< a status line stands on the terminal

/// Erases the status line, if there is one.
void erase() {
  if (shown) std::fputs("\r\033[K", stderr);
  shown = false;
}

extern "C" void onTimer(int) {
  report_due = 1;
}

/// Sets `report_due` every so many microseconds from now on; 0 ends that.
void setTimer(int period) {
  struct sigaction action = {};
  action.sa_handler = period != 0 ? onTimer : SIG_IGN;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGALRM, &action, nullptr);
  itimerval timer = {};
  timer.it_interval.tv_sec = period / 1000000;
  timer.it_interval.tv_usec = period % 1000000;
  timer.it_value = timer.it_interval;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

/// Seconds on a clock that nobody sets.
double now() {
  return static_cast<double>(monotonicTicks()) / static_cast<double>(ticks_per_second);
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
int terminalWidth() {
  winsize size = {};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

} // namespace

Progress::Progress(const process::TimeLimit& time_limit)
    : mode(Mode::off), limit(time_limit), start(now()) {
  const char* const wish = std::getenv("QUILLON_PROGRESS");
  const bool terminal = isatty(STDERR_FILENO) != 0;
  const bool on = wish != nullptr && std::strcmp(wish, "1") == 0;
  const bool off = wish != nullptr && std::strcmp(wish, "0") == 0;
  if (terminal && !off) mode = Mode::line;
  if (!terminal && on) mode = Mode::log;
  if (mode == Mode::off) return;
  if (mode == Mode::line) clear_display = erase;
  setTimer(mode == Mode::line ? line_period : log_period);
}

Progress::~Progress() {
  if (mode == Mode::off) return;
  onEnd();
  clear_display = nullptr;
}

double Progress::elapsed() const {
  return now() - start;
}

void Progress::onReportDue(const Solver& S) {
  char text[256];
  int length =
      std::snprintf(text, sizeof text, "%.1f s, %lld conflicts, %lld restarts, %d learnt",
                    elapsed(), static_cast<long long>(S.stats.conflicts),
                    static_cast<long long>(S.stats.starts - 1), S.nLearnts() + S.pb_nLearnts());
  if (S.solutionFound() && length > 0)
    std::snprintf(text + length, sizeof text - static_cast<size_t>(length),
                  ", best objective %d at %.1f s", S.objectiveValue(), solution_time);
  if (mode == Mode::log) {
    std::fprintf(stderr, "c %s %s\n", stamp().c_str(), text);
    return;
  }
  std::string line = std::string("c ") + text;
  // A line that wraps could not be erased.
  line.resize(std::min(line.size(), static_cast<size_t>(max(1, terminalWidth() - 1))));
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  shown = true;
}

void Progress::onSolution(const Solver& /*S*/) {
  solution_time = elapsed();
}

void Progress::onEnd() {
  if (mode == Mode::off) return;
  setTimer(0);
  erase();
}
