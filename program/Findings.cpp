/// \file
/// The record of what has been found, and the checks on it.
#include "Findings.h"

#include "process/Program.h"
#include "process/Signals.h"

#include <cstdio>
#include <utility>

namespace {

using formats::Int;

/// Nothing more can be told, so nothing more is worth doing.
void endIfOutputIsLost() {
  if (std::ferror(stdout) != 0) process::endNow(process::exit_no_output);
}

} // namespace

bool Findings::maximises() const {
  return problem.objective.sense == formats::Sense::maximise;
}

bool Findings::isBetter(Int a, Int b) const {
  return maximises() ? a > b : a < b;
}

Bounds Findings::boundsNow() const {
  return maximises() ? Bounds{best_value, proven} : Bounds{proven, best_value};
}

/// Of a claim that does not hold, with the lock held.
void Findings::refute(const std::string& claim) {
  const FalseClaim what("internal error: " + claim + "; there is no verdict");
  stage = Stage::refuted;
  throw what;
}

Bounds Findings::bounds() const {
  const std::lock_guard lock(mutex);
  return boundsNow();
}

std::vector<Findings::Event> Findings::events() const {
  const std::lock_guard lock(mutex);
  return history;
}

std::optional<Findings::Event> Findings::last(What what) const {
  const std::lock_guard lock(mutex);
  for (auto event = history.rbegin(); event != history.rend(); ++event)
    if (event->what == what) return *event;
  return std::nullopt;
}

void Findings::note(What what, Int value, const char* who) {
  const process::Ticks now = process::wallTicks() - start;
  history.push_back({now, what, value, who});
  if (what == What::solution && problem.hasObjective()) printObjective(value);
  if (format.verbosity >= 1 && problem.hasObjective())
    printBounds(process::seconds(now), boundsNow());
  endIfOutputIsLost();
}

void Findings::addSolution(const std::vector<bool>& values, Int claimed, const char* who) {
  formats::Assignment assignment(static_cast<std::size_t>(problem.variables.size()));
  for (std::size_t v = 0; v < assignment.size(); v++)
    assignment[v] = values[v] ? formats::Value::positive : formats::Value::negative;
  const formats::Evaluation found = formats::evaluate(problem, assignment);

  const std::lock_guard lock(mutex);
  if (stage != Stage::open) return;
  if (found.kind != formats::Evaluation::Kind::holds)
    refute(found.part == formats::Evaluation::Part::row
               ? "a solution violates row " + std::to_string(found.row + 1)
               : std::string("a solution costs too much"));
  if (problem.hasObjective()) {
    const Int value = *found.objective;
    // The engine may count a cost that its solution need not have.
    if (problem.hasCost() ? value > claimed : value != claimed)
      refute("a solution of value " + formats::toString(value) + " was said to have " +
             formats::toString(claimed));
    if (proven && isBetter(value, *proven))
      refute("a solution of value " + formats::toString(value) + " is beyond the bound " +
             formats::toString(*proven));
    if (best_value && !isBetter(value, *best_value)) return;
    best_value = value;
  }
  best.swap(assignment);
  has_solution = true;
  note(What::solution, best_value.value_or(0), who);
}

void Findings::addBound(Int bound, const char* who) {
  const std::lock_guard lock(mutex);
  if (stage != Stage::open) return;
  if (best_value && isBetter(*best_value, bound))
    refute("the bound " + formats::toString(bound) + " is beyond a solution of value " +
           formats::toString(*best_value));
  proven = bound;
  note(What::bound, bound, who);
}

void Findings::comment(int level, const std::string& text) {
  const std::lock_guard lock(mutex);
  if (stage != Stage::open || format.verbosity < level) return;
  printComment(text);
}

std::optional<Verdict> Findings::conclude(Verdict claimed) {
  const std::lock_guard lock(mutex);
  if (stage != Stage::open) return std::nullopt;
  if (claimed == Verdict::unknown && has_solution) claimed = Verdict::satisfiable;
  const bool needs_solution = claimed == Verdict::satisfiable || claimed == Verdict::optimum;
  if (needs_solution && !has_solution) refute("the solution is missing");
  if (!needs_solution && has_solution) refute("there is a solution after all");
  if (claimed == Verdict::optimum) proven = best_value;
  stage = Stage::concluded;
  process::beginResults();
  printVerdict(claimed);
  if (needs_solution && format.values) printValues(problem, best);
  process::flushOutput();
  return claimed;
}

bool Findings::giveUp() {
  const std::lock_guard lock(mutex);
  return std::exchange(stage, Stage::concluded) != Stage::concluded;
}
