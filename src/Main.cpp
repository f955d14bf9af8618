/// \file
/// The front end: options and time limit, loading of the problem, and the verdict. Built a second
/// time with QUILLON_TRACE as the developers' program that reports the search counters, too.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "Interrupt.h"
#include "Prefetch.h"
#include "Progress.h"
#include "Results.h"
#include "RunEnd.h"
#include "Solver.h"
#include "glplib.h"
#include "glplpt.h"
#include "process/Clock.h"
#include "process/Program.h"
#include "process/Signals.h"

using namespace quillon;

namespace {

NameVec varNameVec;
vec<Lit> assumps; ///< none: the program decides the problem as it stands

constexpr int default_time_limit = 1200;
/// What is kept of a limit from the environment, so that results come before a harder limit
/// strikes.
constexpr double time_limit_share = 0.99;

/// Ends a run that has come to nothing before the search.
[[noreturn]] void endUnknown() {
  process::beginResults();
  printVerdict(Verdict::unknown);
  std::exit(exit_none);
}

#ifdef QUILLON_TRACE
/// The largest resident memory of this process since `forgetPeak`, in bytes, as Linux knows it; 0
/// where it does not.
long long peakMemory() {
  long long kib = 0;
  if (std::FILE* const status = std::fopen("/proc/self/status", "r")) {
    char line[256];
    while (std::fgets(line, sizeof line, status) != nullptr)
      if (std::strncmp(line, "VmHWM:", 6) == 0) kib = std::strtoll(line + 6, nullptr, 10);
    std::fclose(status);
  }
  return kib * 1024;
}

void forgetPeak() {
  if (std::FILE* const refs = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", refs);
    std::fclose(refs);
  }
}
#endif

/// For developers: the counters of the search; what its data take by their own account, in bytes,
/// and the most memory that the process had meanwhile.
void traceStats([[maybe_unused]] const Solver& S) {
#ifdef QUILLON_TRACE
  const SolverStats& stats = S.stats;
  std::fprintf(stderr,
               "stats starts=%lld decisions=%lld propagations=%lld inspects=%lld conflicts=%lld "
               "pb_propagations=%lld pb_learnts=%lld\n",
               static_cast<long long>(stats.starts), static_cast<long long>(stats.decisions),
               static_cast<long long>(stats.propagations), static_cast<long long>(stats.inspects),
               static_cast<long long>(stats.conflicts),
               static_cast<long long>(stats.pb_propagations),
               static_cast<long long>(stats.pb_learnts));
  const MemoryUse use = S.memoryUse();
  std::fprintf(stderr, "memory constraints=%zu watches=%zu variables=%zu peak=%lld\n",
               use.constraints, use.watches, use.variables + varNameVec.bytes(), peakMemory());
#endif
}

// ------------------------------------------------------------------------------------------------
// Options and time limit

/// The integer in environment variable `name`; -1 if it is not set, 0 if it holds no number.
int getPBlimit(const char* name) {
  const char* const text = std::getenv(name);
  if (text == nullptr) return -1;
  const long value = std::strtol(text, nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

void display_help() {
  std::printf("Usage: quillon [options...] < filename\n\n"
              "  options:\n"
              "   --t nnn                   set timeout to nnn seconds\n"
              "   --help                    display this help information\n"
              "\n"
              " for more info, please visit %s\n"
              "\n",
              QUILLON_HOMEPAGE);
}

/// The time limit in seconds as options and environment set it; ends the process on a wrong option.
double parse_cmdline(int argc, char* argv[]) {
  const int environment = getPBlimit("PBTIMEOUT");
  double limit = environment < 0 ? default_time_limit : time_limit_share * environment;
  for (int i = 1; i < argc; i++) {
    if (std::strcmp(argv[i], "--t") == 0) {
      i++;
      if (i == argc || argv[i][0] == '\0' || argv[i][0] == '-') {
        std::printf("No time limit specified");
        std::exit(exit_none);
      }
      int seconds;
      if (glp_lib_str2int(argv[i], &seconds) != 0 || seconds < 0) {
        std::printf("Invalid time limit `%s'\n", argv[i]);
        std::exit(exit_none);
      }
      limit = seconds;
    } else if (std::strcmp(argv[i], "--help") == 0) {
      display_help();
      std::exit(exit_none);
    } else if (argv[i][0] == '-') {
      std::printf("Invalid option `%s'; try %s --help\n", argv[i], argv[0]);
      std::exit(exit_none);
    }
  }
  return limit;
}

/// The limit has passed once the whole seconds are more than `limit`.
process::Ticks limitTicks(double limit) {
  return (static_cast<process::Ticks>(limit) + 1) * process::ticks_per_second;
}

// ------------------------------------------------------------------------------------------------
// Loading

/// Makes the solver variable of a column.
void convert_col_var(Solver& S, LPTCOL* col) {
  col->var = S.nVars();
  varNameVec.push(col->name);
  S.newVar(true, -1, 0, 0);
  assert(col->var >= 0);
}

/// Appends the non-zero terms of a form.
void add_terms(const LPTLFE* form, vec<vnumcoef>& pbterms) {
  for (const LPTLFE* lfe = form; lfe != nullptr; lfe = lfe->next)
    if (lfe->coef != 0) pbterms.push(vnumcoef{lfe->col->var + 1, lfe->coef});
}

/// Hands the objective over as a constraint that every assignment satisfies at first: at most its
/// largest value when minimising, at least its smallest when maximising.
bool addObjective(Solver& S, const LPT& lpt, vec<vnumcoef>& pbterms) {
  add_terms(lpt.obj, pbterms);
  int64 max_obj = 0;
  int64 min_obj = 0;
  for (int i = 0; i < pbterms.size(); i++)
    (pbterms[i].coeff > 0 ? max_obj : min_obj) += pbterms[i].coeff;
  if (max_obj > INT_MAX || min_obj < INT_MIN) numericOverflow(OverflowGuard::construction);
  return lpt.sense == LPT_MAX
             ? S.addPBConstraint(static_cast<int>(min_obj), pb_at_least, pbterms, -1, -1, true)
             : S.addPBConstraint(static_cast<int>(max_obj), pb_at_most, pbterms, -1, -1, true);
}

bool addRow(Solver& S, const LPTROW& row, vec<vnumcoef>& pbterms) {
  add_terms(row.ptr, pbterms);
  const int pbtype = row.sense == LPT_LE   ? pb_at_most
                     : row.sense == LPT_GE ? pb_at_least
                                           : pb_equal;
  return S.addPBConstraint(row.rhs, pbtype, pbterms, -1, -1, false);
}

/// Reads the problem on standard input into the solver. False when a constraint shows at once that
/// it is unsatisfiable; later ones are not loaded then. Ends the process when the input is
/// rejected or a signal comes meanwhile.
bool parse_LPT(Solver& S) {
  LPT* const lpt = glp_lpt_read_prob();
  if (lpt == nullptr) endUnknown();
  int count = 0;
  S.reserve(lpt->n);
  varNameVec.reserve(lpt->n);
  for (LPTCOL* col = lpt->first_col; col != nullptr; col = col->next) {
    count++;
    assert(col->j == count && col->kind == LPT_BIN && col->lb == 0 && col->ub == 1);
    convert_col_var(S, col);
  }
  assert(count == lpt->n);

  assert(lpt->sense == LPT_MIN || lpt->sense == LPT_MAX || lpt->obj == nullptr);
  vec<vnumcoef> pbterms;
  bool accepted = lpt->obj == nullptr || addObjective(S, *lpt, pbterms);
  count = 0;
  while (accepted) {
    const LPTROW* const row = glp_lpt_next_row(lpt);
    if (row == nullptr) break;
    if (stop_signal != 0) endUnknown();
    count++;
    assert(row->i == count);
    // One row ahead instead of two made no difference that could be measured.
    const LPTROW* const soon = row->next == nullptr ? nullptr : row->next->next;
    if (soon != nullptr) { // for the memory to have its columns ready, which lie all over it
      for (const LPTLFE* lfe = soon->ptr; lfe != nullptr; lfe = lfe->next) prefetch(&lfe->col->var);
    }
    pbterms.clear();
    accepted = addRow(S, *row, pbterms);
  }
  assert(!accepted || count == lpt->m);
  glp_lpt_free_prob(lpt);
#ifdef __GLIBC__
  malloc_trim(0); // what the text's problem took goes back to the system
#endif
  return accepted;
}

} // namespace

int main(int argc, char* argv[]) {
  const process::Ticks T0 = process::processorTicks();
  process::begin({.prefix = "quillon: error: "});
  process::catchStopSignals([] { stop_signal = process::stopSignal(); });
  std::fprintf(stderr,
               "c Quillon version %s (September 2005)\nc Developed @ Tessaly\n"
               "c  by Maravel\n",
               QUILLON_VERSION);
  Solver S;
  S.verbosity = 0;
  S.nPBLearnt = 0.0;
  process::TimeLimit limit;
  limit.processor_end = T0 + limitTicks(parse_cmdline(argc, argv));

  if (!parse_LPT(S)) {
    process::beginResults();
    std::printf("here\n");
    printVerdict(Verdict::unsatisfiable);
    std::exit(exit_unsatisfiable);
  }
  std::printf("c starting to Solve\n");
#ifdef QUILLON_TRACE
  forgetPeak();
#endif
  Progress progress(limit);
  S.host = &progress;
  printSizes(S);
  const SolveResult st = S.solve(assumps);
  traceStats(S);

  if (st == solve_done && S.isOBJ()) printOptimum(S);
  printTotalTime(reportedSeconds(T0, process::processorTicks()));
  switch (st) {
  case solve_unsatisfiable:
    printVerdict(Verdict::unsatisfiable);
    std::exit(exit_unsatisfiable);
  case solve_done:
    printVerdict(S.isOBJ() ? Verdict::optimum : Verdict::satisfiable);
    printModel(S, varNameVec);
    std::exit(S.isOBJ() ? exit_optimum : exit_satisfiable);
  case solve_stopped:
    break;
  }
  // Stopped: with an objective the best solution so far is worth having.
  if (S.solutionFound()) {
    printVerdict(Verdict::satisfiable);
    printModel(S, varNameVec);
  } else {
    printVerdict(Verdict::unknown);
  }
  std::exit(exit_satisfiable);
}
