/// \file
/// From the problem as read to the engine.
#ifndef QUILLON_PROGRAM_LOADING_H
#define QUILLON_PROGRAM_LOADING_H

#include "estoc/Solver.h"
#include "formats/Problem.h"

#include <atomic>

/// Hands `problem` to an empty solver: its variables get the same numbers there, and what is to be
/// maximised becomes its negation minimised, see `engineValue`. Returns early, with a part of the
/// problem, once `stop` is true, and when a row shows that there is no solution. Products and soft
/// rows become linear. False when numbers are beyond `formats::int_width`.
[[nodiscard]] bool load(const formats::Problem& problem, estoc::Solver& solver,
                        const std::atomic<bool>& stop);

/// The objective's value for a value of the engine's, and the other way round: the same number, or
/// its negation when `problem` is to be maximised.
formats::Int userValue(const formats::Objective& objective, formats::Int engine_value);

#endif
