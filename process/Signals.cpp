/// \file
/// Signals that ask a program to wind up.
#include "Signals.h"

#include <csignal>
#include <cstdlib>

#include "Clock.h"

namespace process {

namespace {

constexpr int stop_signals[] = {SIGTERM, SIGINT, SIGHUP, SIGXCPU};

/// A signal that comes again this soon is the same request: timeout(1), for one, signals its child
/// and then the child's process group.
constexpr Ticks echo_ticks = ticks_per_second / 20;

// Written by the handler, which nothing but itself could interrupt, and it holds itself off.
volatile std::sig_atomic_t first = 0;
volatile std::sig_atomic_t insistent = 0;
volatile std::sig_atomic_t results_begun = 0;
Ticks first_time = 0;
void (*hook)() = nullptr;

/// Whether a signal behind the first one is only that one again.
bool isRepetition(int signal, const siginfo_t& info) {
  const bool from_kernel = info.si_code > 0;
  if (signal == SIGHUP || (signal == SIGXCPU && from_kernel)) return true;
  return signal == first && wallTicks() - first_time < echo_ticks;
}

extern "C" void onStopSignal(int signal, siginfo_t* info, void*) {
  if (first == 0) {
    first_time = wallTicks();
    first = signal;
    if (hook != nullptr) hook();
  } else if (!isRepetition(signal, *info)) {
    if (results_begun != 0) {
      insistent = signal;
    } else { // takes effect when this handler returns
      std::signal(signal, SIG_DFL);
      std::raise(signal);
    }
  }
}

} // namespace

void catchStopSignals(void (*on_stop)()) {
  hook = on_stop;
  struct sigaction action = {};
  action.sa_sigaction = onStopSignal;
  action.sa_flags = SA_SIGINFO; // without SA_RESTART
  sigemptyset(&action.sa_mask);
  for (const int s : stop_signals) sigaddset(&action.sa_mask, s);
  for (const int s : stop_signals) {
    struct sigaction inherited = {};
    if (sigaction(s, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN)
      sigaction(s, &action, nullptr);
  }
  action.sa_handler = SIG_IGN;
  action.sa_flags = 0;
  sigaction(SIGPIPE, &action, nullptr);
  sigaction(SIGXFSZ, &action, nullptr);
}

int stopSignal() {
  return first;
}

void beginResults() {
  results_begun = 1;
}

int insistentSignal() {
  return insistent;
}

void dieOf(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  // cppcheck-suppress unreachableCode ; `raise` may come back
  std::abort(); // the signal was held back by somebody else
}

} // namespace process
