/// \file
/// The techniques of the engine that can be switched, each with its option.
#ifndef QUILLON_PROGRAM_TECHNIQUES_H
#define QUILLON_PROGRAM_TECHNIQUES_H

#include "estoc/Options.h"

/// The option --no-NAME switches one off.
struct Technique {
  const char* name;
  bool estoc::Options::*member;
  const char* what; ///< for the help text, behind "do not"
};

inline constexpr Technique techniques[] = {
    {"stable-mode", &estoc::Options::stable_mode, "search by activities with few restarts"},
    {"focused-mode", &estoc::Options::focused_mode, "search by recency with many restarts"},
    {"rephase", &estoc::Options::rephase, "return to the best or first values now and then"},
    {"solution-phases", &estoc::Options::solution_phases, "prefer the values of the best solution"},
    {"weaken-fully", &estoc::Options::weaken_fully, "weaken reasons beyond what rounding needs"},
    {"weaken-learnt", &estoc::Options::weaken_learnt,
     "weaken learnt rows beyond what analysis needs"},
    {"minimise", &estoc::Options::minimise, "minimise learnt clauses"},
    {"probing", &estoc::Options::probing, "try what single literals imply"},
    {"vivification", &estoc::Options::vivification, "shorten learnt clauses by propagation"},
    {"subsumption", &estoc::Options::subsumption, "compare clauses with each other"},
    {"at-most-ones", &estoc::Options::at_most_ones, "make rows of clauses of two literals"},
    {"core-guided", &estoc::Options::core_guided, "raise the lower bound by cores"},
    {"presolve", &estoc::Options::presolve, "make the problem simpler at first"},
    {"row-comparison", &estoc::Options::row_comparison, "drop rows that others imply at first"},
    {"row-splitting", &estoc::Options::row_splitting, "make clauses of rows at first"},
    {"local-search", &estoc::Options::local_search, "look for better solutions by flips"},
    {"neighbourhoods", &estoc::Options::neighbourhoods, "search around the best solution"},
    {"targets", &estoc::Options::targets, "raise what is branched below step by step"},
    {"cuts", &estoc::Options::cuts, "add rows that the relaxation's optimum violates"},
    {"lazy-rows", &estoc::Options::lazy_rows, "keep rows from the relaxation that do not matter"},
    {"lp", &estoc::Options::lp, "solve the linear relaxation"},
};

#endif
