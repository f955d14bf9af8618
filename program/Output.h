/// \file
/// The lines that `estoc` prints, by the conventions of the competitions.
#ifndef QUILLON_PROGRAM_OUTPUT_H
#define QUILLON_PROGRAM_OUTPUT_H

#include "formats/Check.h"
#include "formats/Problem.h"

#include <optional>
#include <string>

/// What a run has come to.
enum class Verdict { optimum, satisfiable, unsatisfiable, unknown, unsupported };

/// The words of the `s` line.
const char* wordsOf(Verdict verdict);
int exitCodeOf(Verdict verdict);

/// What is known about the optimum: no bound where there is no value.
struct Bounds {
  std::optional<formats::Int> lower = {};
  std::optional<formats::Int> upper = {};

  /// Their distance as a share of the larger magnitude, from 0 to 2; nothing unless both are known.
  std::optional<double> gap() const;
};

/// A comment line, at once.
void printComment(const std::string& text);
/// The `o` line of a better solution, at once.
void printObjective(formats::Int value);
/// The `c bound` line, at once; `time` in seconds.
void printBounds(double time, const Bounds& bounds);
void printVerdict(Verdict verdict);
/// The `v` lines: all variables of the text, as those do who read its format.
void printValues(const formats::Problem& problem, const formats::Assignment& assignment);

#endif
