/// \file
/// From the problem as read to the engine.
#ifndef QUILLON_PROGRAM_LOADING_H
#define QUILLON_PROGRAM_LOADING_H

#include "Statement.h"
#include "estoc/Solver.h"

#include <atomic>

/// Hands `problem`, of which `linear` has been made, to an empty solver: its variables get the same
/// numbers there, and what is to be maximised becomes its negation minimised, see `userValue`.
/// Returns early, with a part of the problem, once `stop` is true, and when a row shows that there
/// is no solution. `statement` has the numbers of rows in the proof; null without a proof.
void load(const formats::Problem& problem, const formats::Linear& linear,
          const Statement* statement, estoc::Solver& solver, const std::atomic<bool>& stop);

/// The objective's value for a value of the engine's, and the other way round: the same number, or
/// its negation when `problem` is to be maximised.
formats::Int userValue(const formats::Objective& objective, formats::Int engine_value);

#endif
