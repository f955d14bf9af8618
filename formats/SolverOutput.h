/// \file
/// Reads what a solver printed that follows the conventions of the pseudo-Boolean competitions.
#ifndef QUILLON_FORMATS_SOLVER_OUTPUT_H
#define QUILLON_FORMATS_SOLVER_OUTPUT_H

#include "Integer.h"
#include "Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// What the "s" line says; `none` when there is no such line.
enum class Answer { none, satisfiable, optimum, unsatisfiable, unknown };

/// The answer as an "s" line has it, such as "OPTIMUM FOUND"; "no verdict" for `none`.
const char* wordsOf(Answer answer);

/// One entry of a value line as written: a name, with "-" or "~" in front when it is false. A name
/// may itself begin with "~", so only the problem's names can tell the two apart.
struct ValueEntry {
  std::string text;
  Place place;
};

struct SolverOutput {
  Answer answer = Answer::none;
  /// Whether there is a value line, which may be without entries.
  bool has_values = false;
  /// The entries of all value lines in order.
  std::vector<ValueEntry> values;
  /// The numbers of all "o N" lines in order: the objective's value in solutions found on the way,
  /// the last that of the values, constant included.
  std::vector<Int> objectives;
};

/// Reads the whole of `text`. Lines of other kinds are skipped: comments, and whatever else a
/// solver or a shell mixed in. Refused: an "s" line with an unknown verdict, two "s" lines, and an
/// "o" line without a plain number that fits an Int. Linear time.
Result<SolverOutput> readSolverOutput(std::string_view text);

} // namespace formats

#endif
