/// \file
/// Signals that ask a program to wind up: SIGTERM, SIGINT, SIGHUP, SIGXCPU.
///
/// The first one asks for the results: the program's hook is called, and the program winds up. A
/// second one that a person sends ends the process at once by its own default action; but from
/// `beginResults` on only if nobody takes the output, so that no result is cut in two. Repetitions
/// that nobody meant as such are no second one: the kernel's SIGXCPU of every further second, the
/// SIGHUPs of a closing terminal, and a signal that comes to the process and its group at once.
#ifndef QUILLON_PROCESS_SIGNALS_H
#define QUILLON_PROCESS_SIGNALS_H

namespace process {

/// Catches the stop signals, but none that whoever started the process has ignored (as nohup does,
/// or a shell for its background jobs). `on_stop`, if not null, is called from the handler of the
/// first one, once, and must be safe there: it may set a lock-free atomic or a
/// `volatile sig_atomic_t`. System calls are interrupted. SIGPIPE and SIGXFSZ are ignored from now
/// on: a closed pipe and a file that has grown too large are noticed as errors of output.
void catchStopSignals(void (*on_stop)());

/// The number of the first stop signal so far, 0 before.
int stopSignal();

/// The results are being printed from now on.
void beginResults();

/// A stop signal that insists on the end while results are printed, 0 for none.
int insistentSignal();

/// Ends the process by the default action of a signal.
[[noreturn]] void dieOf(int signal);

} // namespace process

#endif
