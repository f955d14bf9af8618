/// \file
/// Reads what a solver printed: our program's output or that of any solver that follows the
/// conventions of the pseudo-Boolean competitions.
#ifndef QUILLON_FORMATS_SOLVER_OUTPUT_H
#define QUILLON_FORMATS_SOLVER_OUTPUT_H

#include "Integer.h"
#include "Result.h"

#include <optional>
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
  /// The number of the last "c optimum objective found = N" line: our program's objective, shifted
  /// as `reportedObjective` (Check.h) tells.
  std::optional<Int> reported;
  /// The number of the last "o N" line: the objective's value, constant included.
  std::optional<Int> objective;
};

/// Reads the whole of `text`. Lines of other kinds are skipped: comments, our program's "here" for
/// a problem found unsatisfiable while loading, and whatever else a solver or a shell mixed in.
/// Refused: an "s" line with an unknown verdict, two "s" lines, an "o" line or a "c optimum
/// objective found" line without a plain number of at most 127 bits. Linear time.
Result<SolverOutput> readSolverOutput(std::string_view text);

} // namespace formats

#endif
