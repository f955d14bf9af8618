/// \file
/// How the world outside gets a word in while the engine reads or searches.
#ifndef QUILLON_INTERRUPT_H
#define QUILLON_INTERRUPT_H

#include <csignal>

namespace quillon {

/// Set to something else than 0, by a signal handler for instance, when the engine is to wind up as
/// if the time limit had just passed. Whatever takes long looks at it.
inline volatile std::sig_atomic_t stop_signal = 0;

/// Set to 1 in the same way when a search is to report to its host.
inline volatile std::sig_atomic_t report_due = 0;

} // namespace quillon

#endif
