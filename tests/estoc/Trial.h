/// \file
/// A solver of the modern engine with a problem of which the truth is known: for tests and fuzz
/// targets.
#ifndef QUILLON_TESTS_ESTOC_TRIAL_H
#define QUILLON_TESTS_ESTOC_TRIAL_H

#include <string>
#include <vector>

#include "Draws.h"
#include "PlainProblem.h"
#include "estoc/Solver.h"

namespace trial {

using estoc::Int128;

std::string text(Int128 n);
std::string text(const estoc::Options& options);
std::string text(const std::vector<estoc::Lit>& literals);

/// Any switches and widths, intervals mostly so short that small problems see them.
estoc::Options someOptions(Draws& draws);

/// A solver, and all assignments that satisfy what it has been given.
class Trial {
  Draws& draws;
  int nvars = 0;
  std::vector<plain::Assignment> solutions;
  std::vector<estoc::WideTerm> objective;
  Int128 constant = 0;
  std::string rows_text;

  Int128 someFactor(Int128 magnitudes);
  void hand(const plain::Form& form, plain::Int bound, bool at_most);

 public:
  estoc::Solver solver;
  bool refused = false; ///< a row has been recognised as making all unsatisfiable

  /// Writes a proof if `sink` is not null; no variables can be added then.
  Trial(int variables, const estoc::Options& options, Draws& d, estoc::ProofSink* sink = nullptr,
        const estoc::ProofPlan& plan = {});
  void addVariable();
  /// Hands the row over, perhaps with numbers so much larger that it means the same, of up to 127
  /// bits in sum.
  void add(const plain::Row& row);
  /// Sets an objective, with weights of any size.
  void minimiseSomething();

  estoc::Lit someLiteral();
  std::string objectiveText() const;
  /// What has been handed over, in OPB; the variables are x0, x1, ...
  std::string opbText() const { return (optimises ? objectiveText() : "") + rows_text; }
  Int128 cost(plain::Assignment assignment) const;
  /// Null when there is no solution.
  const Int128* optimum() const { return solutions.empty() ? nullptr : &best; }
  bool satisfies(plain::Assignment assignment) const;
  /// What is wrong with the answer; empty if nothing.
  std::string judge(estoc::Verdict verdict, const std::vector<estoc::Lit>& assumptions) const;

 private:
  Int128 best = 0;
  bool optimises = false;
};

/// Checks all that a solver reports about the trial's objective, and interrupts it every so many
/// reports if `patience` is not 0.
class Watcher : public estoc::Listener {
  Trial& run;
  int patience;
  int reports = 0;
  Int128 upper = 0;
  Int128 lower = 0;
  bool has_upper = false;
  bool has_lower = false;

  void note(const char* wrong);

 public:
  std::string fault;

  Watcher(Trial& t, int interrupt_after) : run(t), patience(interrupt_after) {}
  void onSolution(const std::vector<bool>& values, Int128 value, estoc::Strategy by) override;
  void onLowerBound(Int128 bound, estoc::Strategy by) override;
};

} // namespace trial

#endif
