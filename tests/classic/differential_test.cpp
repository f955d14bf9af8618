/// \file
/// Random small problems, the engine against exhaustive enumeration. A failure prints the seed and
/// the problem as text; QUILLON_DIFFERENTIAL_SEED set to that seed with QUILLON_DIFFERENTIAL_RUNS=1
/// runs that problem alone.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "SolverAudit.h"

namespace {

// ------------------------------------------------------------------------------------------------
// Problems

struct Term {
  int coeff;
  Var var;
};

/// A linear form as it could be written, with zero coefficients and repeated variables.
using Form = std::vector<Term>;

struct Row {
  Form form;
  PBRelation relation;
  int rhs;
};

struct Problem {
  int nvars = 0;
  std::vector<Row> rows;
  std::optional<Form> objective;
  bool maximise = false;
};

std::string text(const Form& form) {
  std::ostringstream out;
  for (const Term& t : form) out << (t.coeff < 0 ? "" : "+") << t.coeff << "*x" << t.var << " ";
  return out.str();
}

/// The problem in the input format.
std::string text(const Problem& problem) {
  std::ostringstream out;
  if (problem.objective)
    out << (problem.maximise ? "max: " : "min: ") << text(*problem.objective) << ";\n";
  for (const Row& row : problem.rows) {
    const char* const relation = row.relation == pb_at_most ? "<="
                                 : row.relation == pb_equal ? "="
                                                            : ">=";
    out << text(row.form) << relation << " " << row.rhs << ";\n";
  }
  return out.str();
}

/// The form as the engine wants it: each variable once, no zero coefficient.
Form merged(const Form& form) {
  Form result;
  for (const Term& t : form) {
    bool found = false;
    for (Term& r : result) {
      if (r.var != t.var) continue;
      r.coeff += t.coeff;
      found = true;
    }
    if (!found) result.push_back(t);
  }
  std::erase_if(result, [](const Term& t) { return t.coeff == 0; });
  return result;
}

// ------------------------------------------------------------------------------------------------
// The truth

int64 valueOf(const Form& form, unsigned assignment) {
  int64 sum = 0;
  for (const Term& t : form)
    if ((assignment >> t.var & 1) != 0) sum += t.coeff;
  return sum;
}

bool feasible(const Problem& problem, unsigned assignment) {
  for (const Row& row : problem.rows) {
    const int64 sum = valueOf(row.form, assignment);
    if (row.relation != pb_at_most && sum < row.rhs) return false;
    if (row.relation != pb_at_least && sum > row.rhs) return false;
  }
  return true;
}

/// Whether all literals are true.
bool agrees(const std::vector<Lit>& literals, unsigned assignment) {
  for (const Lit p : literals)
    if ((assignment >> var(p) & 1) == static_cast<unsigned>(sign(p))) return false;
  return true;
}

bool satisfiable(const Problem& problem, const std::vector<Lit>& assumptions) {
  for (unsigned a = 0; a < 1U << problem.nvars; a++)
    if (agrees(assumptions, a) && feasible(problem, a)) return true;
  return false;
}

/// The best objective value, if there is a solution.
std::optional<int64> optimum(const Problem& problem) {
  std::optional<int64> best;
  for (unsigned a = 0; a < 1U << problem.nvars; a++) {
    if (!feasible(problem, a)) continue;
    const int64 value = valueOf(*problem.objective, a);
    if (!best || (problem.maximise ? value > *best : value < *best)) best = value;
  }
  return best;
}

// ------------------------------------------------------------------------------------------------
// Generation. A seed stands for the same problem everywhere: only the generator's raw numbers are
// used, not the library's distributions, and no two draws are arguments of one call.

class Generator {
  std::mt19937_64 random;

 public:
  explicit Generator(unsigned long seed) : random(seed) {}
  int64 between(int64 low, int64 high) {
    return low + static_cast<int64>(random() % static_cast<unsigned long>(high - low + 1));
  }
  int small(int low, int high) { return static_cast<int>(between(low, high)); }
  bool oneIn(int n) { return small(1, n) == 1; }
  Var variable(const Problem& problem) { return small(0, problem.nvars - 1); }
  PBRelation relation() { return static_cast<PBRelation>(small(pb_at_most, pb_at_least)); }
};

/// A right-hand side in or just outside the range that the form's value spans.
int someBound(Generator& g, const Form& form) {
  int64 low = 0;
  int64 high = 0;
  for (const Term& t : form) (t.coeff < 0 ? low : high) += t.coeff;
  return static_cast<int>(g.oneIn(3) ? g.between(low - 1, high + 1) : g.between(low, high));
}

/// A form of up to `max_terms` terms with coefficients up to `bound`, of both signs unless
/// `one_sign`.
Form someForm(Generator& g, const Problem& problem, int max_terms, int bound, bool one_sign) {
  Form form;
  for (int n = g.small(0, max_terms); n >= 0; n--) {
    const int coeff = g.oneIn(12) ? 0 : g.small(1, bound);
    form.push_back({!one_sign && g.oneIn(2) ? -coeff : coeff, g.variable(problem)});
  }
  return form;
}

/// Anything goes: all relations, mixed signs, zero and repeated terms.
void addMixedRows(Generator& g, Problem& problem) {
  const int bound = g.small(1, g.oneIn(2) ? 3 : 20);
  for (int n = g.small(0, 10); n > 0; n--) {
    Form form = someForm(g, problem, problem.nvars + 1, bound, g.oneIn(3));
    const int rhs = someBound(g, form);
    problem.rows.push_back({std::move(form), g.relation(), rhs});
  }
}

/// Coefficients that use most of 32 bits. Their absolute values, summed up, stay within it, so
/// that no sum can leave it.
void addHugeRows(Generator& g, Problem& problem) {
  for (int n = g.small(1, 5); n > 0; n--) {
    Form form;
    int64 room = INT_MAX - 2; // for the bound, which may lie one outside the form's range
    for (Var x = 0; x < problem.nvars && room > 1; x++) {
      if (g.oneIn(3)) continue;
      const int64 coeff = g.oneIn(4) ? g.between(1, 3) : g.between(1, room / 2);
      if (coeff > room) break;
      room -= coeff;
      form.push_back({static_cast<int>(g.oneIn(2) ? coeff : -coeff), x});
    }
    if (form.empty()) continue;
    int64 largest = 0;
    for (const Term& t : form) largest = std::max(largest, int64{std::abs(t.coeff)});
    const PBRelation relation = g.relation();
    const int rhs = someBound(g, form);
    // The degrees of both directions, and room for the largest coefficient on top.
    int64 negative = 0;
    int64 positive = 0;
    for (const Term& t : form) (t.coeff < 0 ? negative : positive) += std::abs(t.coeff);
    if (rhs + negative + largest > INT_MAX || positive - rhs + largest > INT_MAX) continue;
    problem.rows.push_back({std::move(form), relation, rhs});
  }
}

/// Tight cardinality structure, which propagates late and makes the engine learn: a matrix of
/// variables with a demand per line and a capacity per column (pigeons and holes, more or less),
/// and some weighted rows across.
void addMatrixRows(Generator& g, Problem& problem) {
  const int lines = g.small(2, 4);
  const int columns = g.small(2, 4);
  problem.nvars = lines * columns;
  const int demanded = g.small(1, columns - 1);
  const int capacity = std::max(1, (lines * demanded + g.small(-1, columns - 1)) / columns);
  const auto weight = [&g] { return g.oneIn(3) ? g.small(1, 3) : 1; };
  for (int i = 0; i < lines; i++) {
    Form form;
    for (int j = 0; j < columns; j++) form.push_back({weight(), i * columns + j});
    problem.rows.push_back({std::move(form), pb_at_least, demanded});
  }
  for (int j = 0; j < columns; j++) {
    Form form;
    for (int i = 0; i < lines; i++) form.push_back({weight(), i * columns + j});
    problem.rows.push_back({std::move(form), pb_at_most, capacity});
  }
  for (int n = g.small(0, 3); n > 0; n--) {
    Form form = someForm(g, problem, problem.nvars, 4, true);
    const int64 all = valueOf(form, ~0U);
    problem.rows.push_back(
        {std::move(form), g.oneIn(2) ? pb_at_least : pb_at_most, static_cast<int>(all / 2)});
  }
}

/// Weighted rows whose bounds lie near the middle of their range, over shared variables.
void addKnapsackRows(Generator& g, Problem& problem) {
  problem.nvars = g.small(6, g.oneIn(8) ? 16 : 11);
  const int bound = g.small(1, 6);
  for (int n = g.small(4, 10); n > 0; n--) {
    Form form;
    int64 all = 0;
    for (Var x = 0; x < problem.nvars; x++) {
      if (g.oneIn(3)) continue;
      form.push_back({g.small(1, bound), x});
      all += form.back().coeff;
    }
    if (form.empty()) continue;
    const int rhs = static_cast<int>(all / 2) + g.small(-1, 1);
    problem.rows.push_back({std::move(form),
                            g.oneIn(8)   ? pb_equal
                            : g.oneIn(2) ? pb_at_least
                                         : pb_at_most,
                            rhs});
  }
}

/// Equalities with wide coefficients, over all variables (G. Cornuejols and M. Dawande, A Class of
/// Hard Small 0-1 Programs, 1998): searched long enough for restarts and reductions.
void addMarketSplit(Generator& g, Problem& problem) {
  problem.nvars = g.small(13, 16);
  for (int n = 3; n > 0; n--) {
    Form form;
    for (Var x = 0; x < problem.nvars; x++) form.push_back({g.small(1, 20), x});
    const int half = static_cast<int>(valueOf(form, ~0U) / 2);
    problem.rows.push_back({std::move(form), pb_equal, half});
  }
}

Problem someProblem(Generator& g) {
  Problem problem;
  problem.nvars = g.small(1, 8);
  if (g.oneIn(60)) {
    addMarketSplit(g, problem);
    return problem;
  }
  switch (g.small(0, 5)) {
  case 0:
    addHugeRows(g, problem);
    break;
  case 1:
  case 2:
    addMixedRows(g, problem);
    break;
  case 3:
  case 4:
    addKnapsackRows(g, problem);
    break;
  default:
    addMatrixRows(g, problem);
  }
  return problem;
}

// ------------------------------------------------------------------------------------------------
// Runs

/// Discards what the engine writes on standard output.
class Silence {
  int kept;

 public:
  Silence() {
    std::fflush(stdout);
    kept = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    close(null);
  }
  ~Silence() {
    std::fflush(stdout);
    dup2(kept, STDOUT_FILENO);
    close(kept);
  }
};

std::string running; ///< what to print should the run end in the middle; empty between problems

/// An overflow guard ends the process with code 0, which must not pass for success.
void onExit() {
  if (running.empty()) return;
  std::fprintf(stderr, "The engine ended the run on %s", running.c_str());
  std::_Exit(1);
}

extern "C" void onAbort(int) {
  std::fprintf(stderr, "The engine failed an assertion on %s", running.c_str());
}

vec<vnumcoef>& handOver(const Form& form, vec<vnumcoef>& terms) {
  terms.clear();
  for (const Term& t : merged(form)) terms.push(vnumcoef{t.var + 1, t.coeff});
  return terms;
}

/// A solver with the problem loaded, objective first, up to the first row that is refused.
class Trial {
  Problem problem;

 public:
  Solver solver;
  bool accepted = true;
  bool reports_negated = false; ///< minimises, without a positive coefficient
  int64 offset = 0;             ///< sum of the objective's negative coefficients

  explicit Trial(const Problem& p) : problem(p) {
    for (Var x = 0; x < problem.nvars; x++) solver.newVar(true, -1, 0, 0);
    vec<vnumcoef> terms;
    if (problem.objective) {
      int64 low = 0;
      int64 high = 0;
      for (const Term& t : merged(*problem.objective)) (t.coeff < 0 ? low : high) += t.coeff;
      reports_negated = !problem.maximise && high == 0;
      offset = low;
      accepted = solver.addPBConstraint(static_cast<int>(problem.maximise ? low : high),
                                        problem.maximise ? pb_at_least : pb_at_most,
                                        handOver(*problem.objective, terms), -1, -1, true);
    }
    for (const Row& row : problem.rows) {
      accepted = accepted && solver.addPBConstraint(row.rhs, row.relation,
                                                    handOver(row.form, terms), -1, -1, false);
    }
  }

  SolveResult solve(const std::vector<Lit>& assumptions) {
    vec<Lit> literals;
    for (const Lit p : assumptions) literals.push(p);
    return solver.solve(literals);
  }

  unsigned model() const {
    unsigned assignment = 0;
    for (Var x = 0; x < problem.nvars; x++)
      if (solver.model[x]) assignment |= 1U << x;
    return assignment;
  }

  /// What is wrong with the answer `result` under the assumptions; empty if nothing.
  std::string judge(SolveResult result, const std::vector<Lit>& assumptions) const {
    std::ostringstream wrong;
    const bool expected = satisfiable(problem, assumptions);
    if (result != (expected ? solve_done : solve_unsatisfiable)) {
      wrong << "verdict " << result << ", but it is " << (expected ? "" : "un") << "satisfiable";
    } else if (expected && (!feasible(problem, model()) || !agrees(assumptions, model()))) {
      wrong << "the model " << model() << " is no solution";
    } else if (expected && problem.objective && solver.isOBJ()) {
      const int64 value = valueOf(*problem.objective, model());
      const int64 best = *optimum(problem);
      const int64 reported = reports_negated ? -value : value - offset;
      if (value != best) wrong << "value " << value << ", but " << best << " is possible";
      if (solver.objectiveValue() != reported)
        wrong << "reports " << solver.objectiveValue() << " for " << value;
    }
    return wrong.str();
  }
};

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// How often the interesting things happened in the problems of one test.
struct Coverage {
  int64 satisfiable = 0;
  int64 unsatisfiable = 0;
  int64 conflicts = 0;
  int64 pb_learnts = 0;
  int64 reductions = 0; ///< problems of which learnt constraints have been dropped

  void count(SolveResult result, const Solver& S) {
    (result == solve_done ? satisfiable : unsatisfiable)++;
    conflicts += S.stats.conflicts;
    pb_learnts += S.stats.pb_learnts;
    reductions += S.pb_nLearnts() < S.stats.pb_learnts;
  }
};

class Differential : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    SolverAudit::enable();
    std::atexit(onExit);
    std::signal(SIGABRT, onAbort);
  }

  /// Runs `experiment` on many problems until it reports a fault. It may complete the problem
  /// before it calls its second argument, which notes what the problem is.
  template <class Experiment> void repeat(Experiment experiment) {
    constexpr unsigned long default_runs = 3000;
    const unsigned long first = fromEnvironment("QUILLON_DIFFERENTIAL_SEED", 1);
    const unsigned long runs = fromEnvironment("QUILLON_DIFFERENTIAL_RUNS", default_runs);
    Coverage coverage;
    for (unsigned long seed = first; seed - first < runs; seed++) {
      Generator g(seed);
      Problem problem = someProblem(g);
      std::string fault;
      {
        const Silence silence;
        try {
          fault = experiment(g, problem, coverage);
        } catch (const std::logic_error& broken) {
          fault = broken.what();
        }
      }
      const std::string where = running;
      running.clear();
      ASSERT_EQ(fault, "") << "seed " << seed << ":\n" << where;
    }
    if (first == 1 && runs >= default_runs) { // other problems may be too few to tell
      EXPECT_GT(coverage.satisfiable, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.unsatisfiable, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.conflicts, static_cast<int64>(runs));
      EXPECT_GT(coverage.pb_learnts, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.reductions, 0);
    }
    RecordProperty("reductions", std::to_string(coverage.reductions));
    RecordProperty("conflicts", std::to_string(coverage.conflicts));
    RecordProperty("pb_learnts", std::to_string(coverage.pb_learnts));
  }
};

TEST_F(Differential, Decision) {
  repeat([](Generator&, const Problem& problem, Coverage& coverage) {
    running = text(problem);
    Trial run(problem);
    const SolveResult result = run.solve({});
    coverage.count(result, run.solver);
    if (!run.accepted && result != solve_unsatisfiable) return std::string("refused, then solved");
    return run.judge(result, {});
  });
}

TEST_F(Differential, Objective) {
  repeat([](Generator& g, Problem& problem, Coverage& coverage) {
    const int bound = g.oneIn(3) ? 1 : 30;
    problem.objective = someForm(g, problem, problem.nvars, bound, g.oneIn(3));
    problem.maximise = g.oneIn(2);
    running = text(problem);
    Trial run(problem);
    const SolveResult result = run.solve({});
    coverage.count(result, run.solver);
    return run.judge(result, {});
  });
}

/// One solver answers a series of questions, and what it learns from one does not spoil the next.
TEST_F(Differential, Assumptions) {
  repeat([](Generator& g, const Problem& problem, Coverage& coverage) {
    Trial run(problem);
    std::string fault;
    for (int n = g.small(1, 5); n > 0 && fault.empty(); n--) {
      std::vector<Lit> assumptions;
      for (int k = g.small(0, 4); k > 0; k--)
        assumptions.push_back(Lit{g.variable(problem), g.oneIn(2)});
      running = text(problem) + "under";
      for (const Lit p : assumptions) running += (sign(p) ? " -x" : " x") + std::to_string(var(p));
      running += "\n";
      const SolveResult result = run.solve(assumptions);
      fault = run.judge(result, assumptions);
      coverage.count(result, run.solver);
    }
    return fault;
  });
}

} // namespace
