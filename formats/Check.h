/// \file
/// Holds assignments, and whole solver outputs, against a problem as it was read, products and soft
/// rows included. Pure functions over 128-bit sums: nothing is simplified, nothing is trusted,
/// nothing can wrap.
#ifndef QUILLON_FORMATS_CHECK_H
#define QUILLON_FORMATS_CHECK_H

#include "NameMap.h"
#include "Problem.h"
#include "SolverOutput.h"

#include <optional>
#include <string>
#include <vector>

namespace formats {

enum class Value : signed char { unset, negative, positive };

/// A value for each variable, by number.
using Assignment = std::vector<Value>;

/// What an assignment makes of a problem. A row or objective uses the variables that have a
/// coefficient other than 0 in it.
struct Evaluation {
  enum class Kind {
    holds,       ///< every row holds, and the cost is below the top
    violated,    ///< `row` is the first row that does not hold, its form comes to `left`
    undetermined ///< not known to hold, or without a known objective: see `variable`
  };
  Kind kind = Kind::holds;
  /// Where it does not hold or is undetermined: in a row, in a soft row, or in the objective, which
  /// is violated when the cost `left` is not below the top.
  enum class Part { row, soft_row, objective };
  Part part = Part::row;
  std::size_t row = 0; ///< index in `Problem::rows` or `Problem::soft`
  Int left = 0;
  int variable = -1; ///< an unset variable that is used there
  /// The objective's value, constant included, or the cost of violated soft rows, when the problem
  /// has an objective and holds.
  std::optional<Int> objective;
};

/// Evaluates rows, objective and soft rows, in this order, up to the first one that is violated or
/// undetermined; a soft row may be violated. `assignment` has an entry per variable; those of
/// products are ignored, their factors count. Linear in the size of the problem.
Evaluation evaluate(const Problem& problem, Assignment assignment);

/// The sum of `form` under `assignment`. Without a value when a variable with a coefficient other
/// than 0 is unset; its number is then stored in `unset` if that is not null.
std::optional<Int> valueOf(Form form, const Assignment& assignment, int* unset = nullptr);

/// The assignment that the value entries describe, products left unset. An entry is a name of the
/// problem, or "-" or "~" and a name; a name that is a key of `map` stands for the name it is
/// mapped to, or for no variable of the problem. Names that the problem only declares are passed
/// over, as is what stands for no variable. Fails at the first unknown name and at the first entry
/// that contradicts an earlier one; repetitions are harmless. With a problem in a DIMACS format,
/// "0" is no more than an end, and with WCNF one entry of a 0 or 1 for each declared variable gives
/// all.
Result<Assignment> assignmentOf(const Problem& problem, const std::vector<ValueEntry>& values,
                                const NameMap& map = {});

/// What the check of an output found.
struct Report {
  enum class Kind {
    holds,  ///< everything that can be checked holds
    fails,  ///< the output claims something that is not so
    nothing ///< the output does not claim to have a solution
  };
  Kind kind = Kind::holds;
  std::string sentence; ///< for people, what was found
  /// The objective's value, constant included, when all of it holds and there is an objective.
  std::optional<Int> objective;
  bool stated = false; ///< whether the output states that value

  /// One line for people, without a line end: the sentence, and the objective if there is one.
  std::string text() const;
};

/// The report of a false claim.
Report falseClaim(const std::string& why);

/// Checks the claims of `output`: that its values satisfy every row and that the objective comes to
/// what is stated last; with OPTIMUM FOUND, nothing better may have been stated before. Values are
/// checked whatever the verdict, except that with UNSATISFIABLE their mere presence is a false
/// claim. Not checked, since values cannot show it: that an optimum is
/// one, and that an unsatisfiable problem is so.
Report checkOutput(const Problem& problem, const SolverOutput& output, const NameMap& map = {});

} // namespace formats

#endif
