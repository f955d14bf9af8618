/// \file
/// What a run has found so far: checked, printed at once, and kept for the end.
#ifndef QUILLON_PROGRAM_FINDINGS_H
#define QUILLON_PROGRAM_FINDINGS_H

#include "Output.h"
#include "process/Clock.h"

#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

/// The engine is wrong; the message says in what.
class FalseClaim : public std::logic_error {
  using std::logic_error::logic_error;
};

/// The best solution and the bounds, in the user's sense. All functions can be called by several
/// threads at once. A claim that does not hold is a `FalseClaim`, and from then on nothing is
/// printed, by whichever thread: nothing of a solution that violates the problem as it was read, no
/// verdict that contradicts what has been found, and no other one either.
class Findings {
 public:
  enum class What { solution, bound };
  /// Something found.
  struct Event {
    process::Ticks time; ///< since the beginning of the run
    What what;
    formats::Int value; ///< of the solution's objective, or the bound; 0 without an objective
    const char* who;
  };
  struct Format {
    int verbosity = 1;
    bool values = true;
  };

  /// `text` can be filled in later, until there is a solution, a bound or a verdict.
  Findings(const formats::Problem& text, process::Ticks run_start, Format how)
      : problem(text), start(run_start), format(how) {}

  /// A solution better than all before: `values` has those of the problem's variables first, and
  /// the objective comes to `claimed`.
  void addSolution(const std::vector<bool>& values, formats::Int claimed, const char* who);
  /// No solution is better than `bound`, which says more than all before.
  void addBound(formats::Int bound, const char* who);
  /// A comment line, if the verbosity is at least `level`.
  void comment(int level, const std::string& text);
  /// Prints what the run has come to: `claimed`, but `satisfiable` instead of `unknown` when there
  /// is a solution. From then on nothing else is printed; nothing comes back when somebody has
  /// concluded before.
  std::optional<Verdict> conclude(Verdict claimed);

  /// Prints nothing any more, as after `conclude`; false when somebody has concluded, or given up,
  /// before.
  bool giveUp();

  Bounds bounds() const;
  std::vector<Event> events() const;
  /// The last event of the kind, by a copy; nothing if there is none.
  std::optional<Event> last(What what) const;

 private:
  const formats::Problem& problem;
  const process::Ticks start;
  const Format format;
  mutable std::mutex mutex;
  enum class Stage { open, refuted, concluded };
  Stage stage = Stage::open;
  formats::Assignment best;
  bool has_solution = false;
  std::optional<formats::Int> best_value; ///< only with an objective
  std::optional<formats::Int> proven;     ///< what no solution is better than
  std::vector<Event> history;

  bool maximises() const;
  bool isBetter(formats::Int a, formats::Int b) const;
  Bounds boundsNow() const;
  [[noreturn]] void refute(const std::string& claim);
  void note(What what, formats::Int value, const char* who);
};

#endif
