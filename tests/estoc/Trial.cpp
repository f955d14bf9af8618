/// \file
/// A solver of the modern engine with a problem of which the truth is known.
#include "Trial.h"

#include <algorithm>
#include <sstream>

#include "Generators.h"
#include "SearchAudit.h"
#include "program/Techniques.h"

namespace trial {

using estoc::Lit;
using estoc::Options;
using estoc::SmallTerm;
using estoc::Verdict;
using estoc::WideTerm;
using plain::Assignment;

namespace {

constexpr Int128 largest_sum = ~(Int128{1} << 126 << 1); // 2^127 - 1

/// The solutions among `candidates` under the assumptions exist.
bool anyUnder(const std::vector<Assignment>& solutions, const std::vector<Lit>& assumptions) {
  const auto agrees = [&](Assignment a) {
    return std::all_of(assumptions.begin(), assumptions.end(),
                       [a](Lit l) { return ((a >> l.var() & 1) != 0) != l.negated(); });
  };
  return std::any_of(solutions.begin(), solutions.end(), agrees);
}

std::string termText(const WideTerm& t) {
  return text(t.coefficient) + (t.literal.negated() ? " ~x" : " x") +
         std::to_string(t.literal.var()) + " ";
}

/// From -`most` to `most`.
Int128 someWide(Draws& draws, Int128 most) {
  const Int128 high = draws.between(0, INT64_MAX - 1);
  const Int128 wide = high << 63 | draws.between(0, INT64_MAX - 1);
  const Int128 size = most < largest_sum ? wide % (most + 1) : wide;
  return draws.oneIn(2) ? size : -size;
}

} // namespace

std::string text(Int128 n) {
  if (n < 0) return n == -n ? "-2^127" : "-" + text(-n);
  if (n < 10) return std::string(1, static_cast<char>('0' + static_cast<int>(n)));
  return text(n / 10) + static_cast<char>('0' + static_cast<int>(n % 10));
}

std::string text(const Options& o) {
  std::ostringstream out;
  out << "seed=" << o.seed;
  for (const Technique& t : techniques) out << ' ' << t.name << '=' << o.*t.member;
  out << " width=" << o.smallest_width << " pace=" << o.pace;
  return out.str();
}

std::string text(const std::vector<Lit>& literals) {
  std::string out;
  for (const Lit l : literals) out += (l.negated() ? " ~x" : " x") + std::to_string(l.var());
  return out;
}

Options someOptions(Draws& draws) {
  Options o;
  if (draws.oneIn(4)) o.seed = static_cast<std::uint64_t>(draws.between(1, 1 << 20));
  for (const Technique& t : techniques) o.*t.member = !draws.oneIn(4);
  if (!o.stable_mode && !o.focused_mode) o.stable_mode = true;
  o.weaken_learnt = draws.oneIn(3); // it leaves few cardinalities
  // These solve most of what is small, and leave nothing to do.
  o.presolve = draws.oneIn(2);
  o.local_search = draws.oneIn(3);
  if (draws.oneIn(2)) o.smallest_width = draws.small(0, 3);
  static constexpr std::uint64_t paces[] = {1, 30, 200, 500, 5000};
  o.pace = paces[draws.small(0, 4)];
  if (draws.oneIn(12)) o.audit = estoc::SearchAudit::enforce;
  return o;
}

Trial::Trial(int variables, const Options& options, Draws& d, estoc::ProofSink* sink,
             const estoc::ProofPlan& plan)
    : draws(d), solutions(1, 0), solver(options) {
  if (sink != nullptr) solver.prove(*sink, plan);
  for (int i = 0; i < variables; i++) addVariable();
}

void Trial::addVariable() {
  solver.newVariable();
  const std::size_t n = solutions.size();
  for (std::size_t i = 0; i < n; i++) solutions.push_back(solutions[i] | Assignment{1} << nvars);
  nvars++;
}

Lit Trial::someLiteral() {
  const int variable = draws.small(0, nvars - 1);
  return Lit::of(variable, draws.oneIn(2));
}

/// By which numbers of this sum can be multiplied.
Int128 Trial::someFactor(Int128 magnitudes) {
  const Int128 most = largest_sum / (magnitudes + 2);
  if (!draws.oneIn(3)) return 1;
  switch (draws.small(0, 3)) {
  case 0:
    return most;
  case 1:
    return std::min(most, Int128{draws.between(1, std::int64_t{1} << 60)});
  case 2:
    return std::min(most, Int128{draws.between(2, 1 << 30)});
  default:
    return std::max(Int128{1}, most >> draws.small(1, 100));
  }
}

/// form >= bound, or -form >= -bound. With a factor f, coefficients may be up to f / 2 off in sum
/// and the bound f / 2 lower.
void Trial::hand(const plain::Form& form, plain::Int bound, bool at_most) {
  Int128 magnitudes = bound < 0 ? -bound : bound;
  for (const plain::Term& t : form)
    magnitudes += t.coefficient < 0 ? -t.coefficient : t.coefficient;
  const Int128 f = someFactor(magnitudes);
  Int128 room = f / 2 - 1;
  Int128 rest = Int128{at_most ? -bound : bound} * f - f / 2;
  std::vector<WideTerm> terms;
  for (const plain::Term& t : form) {
    Int128 coefficient = Int128{at_most ? -t.coefficient : t.coefficient} * f;
    if (room > 0 && draws.oneIn(2)) {
      const Int128 off = someWide(draws, room);
      room -= off < 0 ? -off : off;
      coefficient += off;
    }
    const bool negated = f == 1 && draws.oneIn(3);
    if (negated) rest -= coefficient; // a x is a - a ~x
    terms.push_back({negated ? -coefficient : coefficient, Lit::of(t.variable, negated)});
  }
  for (const WideTerm& t : terms) rows_text += termText(t);
  rows_text += ">= " + text(rest) + ";\n";
  Int128 weight = rest < 0 ? -rest : rest;
  std::vector<SmallTerm> small;
  for (const WideTerm& t : terms) {
    weight += t.coefficient < 0 ? -t.coefficient : t.coefficient;
    small.push_back({static_cast<std::int64_t>(t.coefficient), t.literal});
  }
  const bool is_small = weight < Int128{1} << 62 && draws.oneIn(2);
  refused |= is_small ? !solver.addSmallRow(small, static_cast<std::int64_t>(rest))
                      : !solver.addRow(std::move(terms), rest);
}

void Trial::add(const plain::Row& row) {
  plain::Problem alone;
  alone.nvars = nvars;
  alone.rows = {row};
  std::erase_if(solutions, [&](Assignment a) { return !plain::holds(alone, a); });
  if (row.relation != plain::Relation::at_most) hand(row.form, row.bound, false);
  if (row.relation != plain::Relation::at_least) hand(row.form, row.bound, true);
}

void Trial::minimiseSomething() {
  plain::Problem drawn;
  drawn.nvars = nvars;
  plain::addObjective(draws, drawn);
  constant = draws.between(-100, 100);
  Int128 magnitudes = constant < 0 ? -constant : constant;
  for (const plain::Term& t : *drawn.objective)
    magnitudes += t.coefficient < 0 ? -t.coefficient : t.coefficient;
  const Int128 f = someFactor(magnitudes);
  Int128 room = f / 2;
  for (const plain::Term& t : *drawn.objective) {
    Int128 coefficient = Int128{drawn.maximise ? -t.coefficient : t.coefficient} * f;
    if (draws.oneIn(3)) {
      const Int128 off = someWide(draws, room);
      room -= off < 0 ? -off : off;
      coefficient += off;
    }
    objective.push_back({coefficient, Lit::of(t.variable, draws.oneIn(4))});
  }
  if (!solutions.empty()) best = cost(solutions[0]);
  for (const Assignment a : solutions) best = std::min(best, cost(a));
  optimises = true;
  solver.minimise(objective, constant);
}

std::string Trial::objectiveText() const {
  std::string out = "min: ";
  for (const WideTerm& t : objective) out += termText(t);
  return out + text(constant) + ";\n";
}

Int128 Trial::cost(Assignment assignment) const {
  Int128 sum = constant;
  for (const WideTerm& t : objective)
    if (((assignment >> t.literal.var() & 1) != 0) != t.literal.negated()) sum += t.coefficient;
  return sum;
}

bool Trial::satisfies(Assignment assignment) const {
  return std::find(solutions.begin(), solutions.end(), assignment) != solutions.end();
}

std::string Trial::judge(Verdict verdict, const std::vector<Lit>& assumptions) const {
  const bool expected = anyUnder(solutions, assumptions);
  if (refused && !solutions.empty()) return "refuses a row that can be satisfied";
  if (!expected) {
    if (verdict != Verdict::unsatisfiable) return "finds a solution where there is none";
    const std::vector<Lit>& core = solver.core();
    for (const Lit l : core)
      if (std::find(assumptions.begin(), assumptions.end(), l) == assumptions.end())
        return "the core" + text(core) + " has more than what was assumed";
    if (anyUnder(solutions, core)) return "the core" + text(core) + " is satisfiable";
    return "";
  }

  if (verdict == Verdict::unsatisfiable) return "does not find the solution there is";
  if (verdict != (optimises ? Verdict::optimal : Verdict::satisfiable))
    return "ends without a verdict";
  if (!solver.hasSolution() || solver.upperBound().has_value() != optimises)
    return "has a verdict, but no solution";
  Assignment model = 0;
  for (int v = 0; v < nvars; v++)
    if (solver.value(v)) model |= Assignment{1} << v;
  if (!satisfies(model) || !anyUnder({model}, assumptions)) return "the model is no solution";
  if (!optimises) return "";
  if (*solver.upperBound() != cost(model)) return "the upper bound is not the solution's value";
  if (cost(model) != best) return "ends with " + text(cost(model)) + ", but has " + text(best);
  if (*solver.lowerBound() != best) return "the lower bound is not the optimum";
  return "";
}

void Watcher::note(const char* wrong) {
  if (fault.empty()) fault = wrong;
  if (patience != 0 && ++reports % patience == 0) run.solver.interrupt();
}

void Watcher::onSolution(const std::vector<bool>& values, Int128 value, estoc::Strategy) {
  Assignment model = 0;
  for (std::size_t v = 0; v < values.size(); v++)
    if (values[v]) model |= Assignment{1} << v;
  const bool better = !has_upper || value < upper;
  upper = value;
  has_upper = true;
  note(!run.satisfies(model)              ? "reports what is no solution"
       : run.cost(model) != value         ? "reports a wrong value"
       : !better                          ? "reports a solution that is no better"
       : run.solver.upperBound() != value ? "has another upper bound than reported"
                                          : "");
}

void Watcher::onLowerBound(Int128 bound, estoc::Strategy) {
  const bool better = !has_lower || bound > lower;
  lower = bound;
  has_lower = true;
  note(run.optimum() != nullptr && bound > *run.optimum() ? "reports a bound above the optimum"
       : has_upper && bound > upper       ? "reports a lower bound above the upper one"
       : !better                          ? "reports a bound that is no better"
       : run.solver.lowerBound() != bound ? "has another lower bound than reported"
                                          : "");
}

} // namespace trial
