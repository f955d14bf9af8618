/// \file
/// The walk.
#include "LocalSearch.h"

#include "numbers/Xorshift.h"

#include <algorithm>
#include <cassert>

namespace estoc {

namespace {
constexpr std::size_t rows_drawn = 8;     ///< violated rows looked at in a step
constexpr std::size_t terms_drawn = 25;   ///< literals of each, and of the cost
constexpr std::size_t escape_terms = 100; ///< literals of the one row of a step that must be made
constexpr std::uint64_t most_of_step = 1 << 20; ///< visits for candidates: columns may be long
constexpr std::size_t noise = 20;               ///< one in so many of these steps takes any literal
constexpr std::uint64_t tabu_steps = 4; ///< what has just flipped is not flipped back for so long
} // namespace

LocalSearch::LocalSearch(const FlatProblem& p, std::uint64_t seed,
                         const std::atomic<bool>& interrupt)
    : problem(p), interrupted(interrupt), random(seed * 0x9E3779B97F4A7C15U + 0x2545F4914F6CDD1DU) {
  if (random == 0) random = 1;
  units.resize(problem.rows());
  for (std::size_t row = 0; row < problem.rows(); row++) {
    double sum = 0;
    for (std::size_t i = problem.firstTerm(row); i < problem.endTerm(row); i++)
      sum += static_cast<double>(problem.coefficient(i));
    const auto size = static_cast<double>(problem.endTerm(row) - problem.firstTerm(row));
    units[row] = sum > 0 ? size / sum : 1;
  }
  if (!problem.hasCost()) return;
  double sum = 0;
  double size = 0;
  for (Var v = 0; v < problem.variables(); v++) {
    const auto gain = static_cast<double>(problem.costGain(v));
    sum += gain < 0 ? -gain : gain;
    size += gain != 0 ? 1 : 0;
  }
  cost_unit = sum > 0 ? size / sum : 1;
}

/// A number below `below`, all about equally often.
std::size_t LocalSearch::draw(std::size_t below) {
  return static_cast<std::size_t>((xorshift(random) >> 32) * below >> 32);
}

void LocalSearch::start(const std::vector<bool>& begin, const std::vector<bool>& fixed,
                        bool keep_weights) {
  const auto n = static_cast<std::size_t>(problem.variables());
  assert(begin.size() == n && fixed.size() == n);
  values.assign(begin.begin(), begin.end());
  is_fixed.assign(fixed.begin(), fixed.end());
  flipped_at.assign(n, 0);
  violated.reset(problem.rows());
  rows.resize(problem.rows());
  for (std::size_t row = 0; row < problem.rows(); row++) {
    std::int64_t slack = -problem.degree(row);
    for (std::size_t i = problem.firstTerm(row); i < problem.endTerm(row); i++) {
      const Lit l = problem.literal(i);
      if (isTrue(l)) slack += problem.coefficient(i);
    }
    rows[row].slack = slack;
    if (!keep_weights) rows[row].weight = units[row];
    if (slack < 0) violated.insert(static_cast<std::uint32_t>(row));
  }
  visits += problem.terms() + n;
  if (!keep_weights) cost_weight = cost_unit;
  if (!problem.hasCost()) return;
  costly.reset(n);
  current_cost = problem.costOffset();
  for (std::size_t v = 0; v < n; v++) {
    const std::int64_t gain = problem.costGain(static_cast<Var>(v));
    if (values[v] != 0) current_cost += gain;
    if (is_fixed[v] == 0 && (values[v] != 0 ? gain > 0 : gain < 0))
      costly.insert(static_cast<std::uint32_t>(v));
  }
}

void LocalSearch::setTarget(std::int64_t most) {
  target = most;
}

/// By what the penalty falls when v flips.
double LocalSearch::score(Var v) {
  const bool is_true = values[static_cast<std::size_t>(v)] != 0;
  const FlatProblem::Occurrence* const end = problem.occurrencesEnd(v);
  double sum = 0;
  for (const auto* o = problem.occurrences(v); o != end; o++) {
    const RowState& row = rows[o->row];
    const std::int64_t after = row.slack + (is_true ? -o->gain : o->gain);
    // Rows that hold before and after, most of them, take no arithmetic.
    if ((row.slack | after) >= 0) continue;
    const std::int64_t lack_before = row.slack < 0 ? -row.slack : 0;
    const std::int64_t lack_after = after < 0 ? -after : 0;
    sum += row.weight * static_cast<double>(lack_before - lack_after);
  }
  visits += static_cast<std::uint64_t>(end - problem.occurrences(v)) + 2;
  if (problem.hasCost()) {
    const std::int64_t gain = problem.costGain(v);
    const std::int64_t after = current_cost + (is_true ? -gain : gain);
    sum +=
        cost_weight * static_cast<double>(std::max(current_cost, target) - std::max(after, target));
  }
  return sum;
}

/// Between equals, that one which has not flipped for longest.
void LocalSearch::consider(Var v, Candidate& best, bool tabu) {
  const std::uint64_t last = flipped_at[static_cast<std::size_t>(v)];
  if (tabu && last != 0 && steps - last < tabu_steps) return;
  const double s = score(v);
  if (best.variable < 0 || s > best.score ||
      (s == best.score && last < flipped_at[static_cast<std::size_t>(best.variable)]))
    best = {v, s};
}

/// Looks at up to `most` false literals of the row, from a random place on.
void LocalSearch::considerRow(std::size_t row, std::size_t most, Candidate& best, bool tabu) {
  const std::size_t first = problem.firstTerm(row);
  const std::size_t size = problem.endTerm(row) - first;
  if (size == 0) return;
  std::size_t i = size <= most ? 0 : draw(size);
  const std::size_t looks = std::min(size, 4 * most);
  std::size_t found = 0;
  std::size_t looked = 0;
  for (; looked < looks && found < most; looked++) {
    const Lit l = problem.literal(first + i);
    if (++i == size) i = 0;
    if (isTrue(l) || is_fixed[static_cast<std::size_t>(l.var())] != 0) continue;
    found++;
    consider(l.var(), best, tabu);
    if (visits >= step_end) break;
  }
  visits += looked;
}

/// Looks at up to `most` variables whose flip lowers the cost.
void LocalSearch::considerCost(std::size_t most, Candidate& best, bool tabu) {
  const std::size_t n = costly.size();
  for (std::size_t i = 0; i < std::min(n, most) && visits < step_end; i++)
    consider(static_cast<Var>(costly.members[n <= most ? i : draw(n)]), best, tabu);
}

LocalSearch::Candidate LocalSearch::bestOfSome() {
  Candidate best;
  const std::size_t n = violated.size();
  if (n <= rows_drawn)
    for (const std::uint32_t row : violated.members) considerRow(row, terms_drawn, best, false);
  else
    for (std::size_t i = 0; i < rows_drawn; i++)
      considerRow(violated.members[draw(n)], terms_drawn, best, false);
  if (costTooHigh()) considerCost(terms_drawn, best, false);
  return best;
}

/// The best of one violated row, or now and then any of it; -1 if there is nothing to flip.
Var LocalSearch::escape() {
  Candidate best;
  if (draw(noise) == 0) {
    if (!violated.empty())
      considerRow(violated.members[draw(violated.size())], 1, best, true);
    else
      considerCost(1, best, true);
    if (best.variable >= 0) return best.variable;
  }
  for (const bool tabu : {true, false}) {
    if (!violated.empty())
      considerRow(violated.members[draw(violated.size())], escape_terms, best, tabu);
    else
      considerCost(escape_terms, best, tabu);
    if (best.variable >= 0) break;
  }
  return best.variable;
}

void LocalSearch::raiseWeights() {
  if (violated.empty()) {
    cost_weight += cost_unit;
    return;
  }
  for (const std::uint32_t row : violated.members) rows[row].weight += units[row];
  visits += violated.size();
}

void LocalSearch::flip(Var v) {
  char& value = values[static_cast<std::size_t>(v)];
  const bool was_true = value != 0;
  const FlatProblem::Occurrence* const end = problem.occurrencesEnd(v);
  for (const auto* o = problem.occurrences(v); o != end; o++) {
    RowState& row = rows[o->row];
    const std::int64_t before = row.slack;
    row.slack += was_true ? -o->gain : o->gain;
    if (before < 0 && row.slack >= 0)
      violated.erase(o->row);
    else if (before >= 0 && row.slack < 0)
      violated.insert(o->row);
  }
  visits += static_cast<std::uint64_t>(end - problem.occurrences(v)) + 2;
  value = was_true ? 0 : 1;
  if (!is_kept) {
    since.push_back(v);
    if (since.size() > values.size()) solution();
  }
  flipped_at[static_cast<std::size_t>(v)] = steps;
  if (!problem.hasCost()) return;
  const std::int64_t gain = problem.costGain(v);
  if (gain == 0) return;
  current_cost += was_true ? -gain : gain;
  if (costly.has(static_cast<std::uint32_t>(v)))
    costly.erase(static_cast<std::uint32_t>(v));
  else
    costly.insert(static_cast<std::uint32_t>(v));
}

/// The assignment is a solution at a cost of at most the target.
void LocalSearch::noteSolution() {
  since.clear();
  is_kept = false;
  target = current_cost - 1;
}

const std::vector<char>& LocalSearch::solution() {
  if (!is_kept) {
    kept = values;
    for (auto v = since.rbegin(); v != since.rend(); ++v) kept[static_cast<std::size_t>(*v)] ^= 1;
    is_kept = true;
    visits += kept.size();
  }
  return kept;
}

bool LocalSearch::run(std::uint64_t budget) {
  const std::uint64_t end = visits + budget;
  std::uint64_t next_look = visits; // whether somebody wants it to end
  bool found = false;
  while (visits < end) {
    if (violated.empty() && !costTooHigh()) {
      noteSolution();
      found = true;
      if (!problem.hasCost() || costly.empty()) break;
    }
    if (visits >= next_look) {
      if (interrupted.load(std::memory_order_relaxed)) break;
      next_look = visits + most_of_step / 8;
    }
    steps++;
    step_end = visits + most_of_step;
    Candidate best = bestOfSome();
    if (best.variable < 0 || best.score <= 0) {
      raiseWeights();
      best.variable = escape();
      visits++;
    }
    if (best.variable >= 0) flip(best.variable);
  }
  return found;
}

} // namespace estoc
