/// \file
/// The modern engine through its public interface, on small problems. The input bytes choose the
/// problem, the options and widths of arithmetic, assumptions and interruptions; every answer,
/// every bound and every core is held against all assignments, and the state is audited as the
/// search goes.
#include <stdexcept>
#include <string>
#include <vector>

#include "ByteDraws.h"
#include "Demand.h"
#include "Generators.h"
#include "SearchAudit.h"
#include "estoc/Trial.h"

namespace {

using estoc::Verdict;
using trial::Trial;

/// Answers a series of questions, between which rows and variables come in.
std::string decide(Draws& draws, const plain::Problem& problem, Trial& run) {
  const auto asked = static_cast<std::size_t>(draws.small(1, 4));
  std::size_t added = 0;
  for (std::size_t question = 1; question <= asked; question++) {
    if (draws.oneIn(6)) run.addVariable();
    for (; added < problem.rows.size() * question / asked; added++) run.add(problem.rows[added]);
    std::vector<estoc::Lit> assumptions;
    for (int k = draws.small(0, 6); k > 0; k--) assumptions.push_back(run.someLiteral());
    if (draws.oneIn(8)) {
      run.solver.interrupt();
      run.solver.solve(assumptions);
    }
    const std::string fault = run.judge(run.solver.solve(assumptions), assumptions);
    if (!fault.empty()) return fault;
  }
  return "";
}

/// Optimises, interrupted now and then.
std::string optimise(Draws& draws, const plain::Problem& problem, Trial& run) {
  for (const plain::Row& row : problem.rows) run.add(row);
  run.minimiseSomething();
  trial::Watcher watcher(run, draws.small(0, 4));
  for (int again = 200; again > 0; again--) {
    const Verdict verdict = run.solver.solve({}, &watcher);
    if (!watcher.fault.empty()) return watcher.fault;
    if (verdict == Verdict::optimal || verdict == Verdict::unsatisfiable)
      return run.judge(verdict, {});
  }
  return "does not come to an end";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteDraws draws(data, size);
  estoc::Options options = trial::someOptions(draws);
  options.audit = estoc::SearchAudit::enforce;
  const plain::Problem problem = plain::someProblem(draws);
  Trial run(problem.nvars, options, draws);
  std::string fault;
  try {
    fault = draws.oneIn(2) ? decide(draws, problem, run) : optimise(draws, problem, run);
  } catch (const std::logic_error& broken) { // from the audit
    fault = broken.what();
  }
  if (!fault.empty()) fault += "\n" + trial::text(options) + "\n" + plain::text(problem);
  demand(fault.empty(), fault.c_str());
  return 0;
}
