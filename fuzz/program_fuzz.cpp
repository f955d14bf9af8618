/// \file
/// Whole runs of the program on generated problems. The input bytes choose a problem of up to 12
/// variables; the program, run as a process, must give the verdict, a value line and an objective
/// that agree with trying all assignments. The truth is computed by the formats library, which
/// shares nothing with the engine.
#include <fuzzer/FuzzedDataProvider.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "formats/Check.h"
#include "formats/SolverOutput.h"
#include "formats/StarReader.h"

namespace {

using formats::Int;

/// The sum of a row or an objective, with zero and repeated terms, of both signs.
std::string someForm(FuzzedDataProvider& bytes, int nvars, int bound) {
  std::string text;
  for (int n = bytes.ConsumeIntegralInRange(1, nvars + 2); n > 0; n--) {
    const int coeff = bytes.ConsumeIntegralInRange(-bound, bound);
    text += (coeff < 0 ? "" : "+") + std::to_string(coeff) + "*x" +
            std::to_string(bytes.ConsumeIntegralInRange(1, nvars)) + " ";
  }
  return text;
}

std::string someProblem(FuzzedDataProvider& bytes) {
  const int nvars = bytes.ConsumeIntegralInRange(1, 12);
  std::string text;
  if (bytes.ConsumeBool())
    text = (bytes.ConsumeBool() ? "min: " : "max: ") + someForm(bytes, nvars, 9) + ";\n";
  for (int n = bytes.ConsumeIntegralInRange(1, 14); n > 0; n--) {
    const int bound = bytes.PickValueInArray({1, 1, 3, 9, 100000});
    const char* const relation = bytes.PickValueInArray({">=", "<=", "="});
    text += someForm(bytes, nvars, bound) + relation + " " +
            std::to_string(bytes.ConsumeIntegralInRange(-2 * bound, 3 * bound)) + ";\n";
  }
  return text;
}

/// The best value of the objective, or 0 without one, over all assignments that satisfy the rows.
std::optional<Int> bestOf(const formats::Problem& problem) {
  const int n = problem.variables.size();
  std::optional<Int> best;
  for (unsigned bits = 0; bits < 1U << n; bits++) {
    formats::Assignment assignment;
    for (int x = 0; x < n; x++)
      assignment.push_back((bits >> x & 1) != 0 ? formats::Value::positive
                                                : formats::Value::negative);
    if (formats::evaluate(problem, assignment).kind != formats::Evaluation::Kind::holds) continue;
    const Int value = *formats::valueOf(problem.objective.form, assignment);
    const bool minimise = problem.objective.sense != formats::Sense::maximise;
    if (!best || (minimise ? value < *best : value > *best)) best = value;
  }
  return best;
}

struct Finished {
  std::string out;
  int exit;
};

/// Runs the program that the environment variable QUILLON names on `text`.
Finished solve(const std::string& text) {
  static const char* const program = std::getenv("QUILLON");
  if (program == nullptr) {
    std::fputs("QUILLON must name the program to run\n", stderr);
    std::abort();
  }
  const int in = memfd_create("in", 0);
  const int out = memfd_create("out", 0);
  if (write(in, text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::abort();
  lseek(in, 0, SEEK_SET);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(in, 0);
    dup2(out, 1);
    execl(program, program, "--t", "100", static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) { // the fuzzer's own timer
  }
  Finished result{std::string(static_cast<size_t>(lseek(out, 0, SEEK_END)), '\0'),
                  WIFEXITED(status) ? WEXITSTATUS(status) : -1};
  lseek(out, 0, SEEK_SET);
  if (read(out, result.out.data(), result.out.size()) != static_cast<ssize_t>(result.out.size()))
    std::abort();
  close(in);
  close(out);
  return result;
}

void demand(bool holds, const char* what, const std::string& text, const Finished& f) {
  if (holds) return;
  std::fprintf(stderr, "%s\n--- problem\n%s--- exit code %d, output\n%s", what, text.c_str(),
               f.exit, f.out.c_str());
  std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const std::string text = someProblem(bytes);
  const Finished f = solve(text);
  const auto problem = formats::readStar(text);
  const auto output = formats::readSolverOutput(f.out);
  demand(static_cast<bool>(problem), "not a problem", text, f);
  demand(static_cast<bool>(output), "unreadable output", text, f);

  const std::optional<Int> best = bestOf(*problem);
  bool has_objective = false; // an objective whose terms all cancel counts as none
  for (const formats::Term& t : problem->objective.form)
    if (t.coefficient != 0) has_objective = true;
  demand(f.exit == (!best ? 20 : has_objective ? 30 : 10), "wrong exit code", text, f);
  demand(output->answer == (!best           ? formats::Answer::unsatisfiable
                            : has_objective ? formats::Answer::optimum
                                            : formats::Answer::satisfiable),
         "wrong verdict", text, f);
  demand(output->has_values == best.has_value(), "values and verdict disagree", text, f);
  if (!best) return 0;
  demand(formats::checkOutput(*problem, *output).kind == formats::Report::Kind::holds,
         "the value line does not hold", text, f);
  if (has_objective)
    demand(output->reported == formats::reportedObjective(problem->objective, *best),
           "not the optimum", text, f);
  return 0;
}
