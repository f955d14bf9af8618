/// \file
/// Slices of local search, and the check of what they find.
#include "Improver.h"

#include "Knapsack.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace estoc {

namespace {
/// Visits of terms between two looks at what has come out.
constexpr std::uint64_t chunk = std::uint64_t{1} << 21;
/// What a slice may spend without a better solution: so much, and so often the size of the problem
/// (less often when any solution will do), but not more than the first and the later ones.
constexpr std::uint64_t least_patience = std::uint64_t{1} << 16;
constexpr std::uint64_t sizes_to_optimise = 4000;
constexpr std::uint64_t sizes_to_decide = 200;
constexpr std::uint64_t first_patience = std::uint64_t{1} << 26;
constexpr std::uint64_t later_patience = std::uint64_t{1} << 25;
/// What a slice may spend at most.
constexpr std::uint64_t most_of_slice = std::uint64_t{1} << 28;
/// Steps for a problem of one row.
constexpr std::uint64_t knapsack_budget = std::uint64_t{1} << 23;
/// Beyond these the rows are not copied, which takes some 30 bytes a term.
constexpr std::size_t most_terms = std::size_t{1} << 22;
constexpr Var most_variables = Var{1} << 22;
/// Bounds of `share`: a visit takes a third of the time of a unit of the search's work. The least
/// one while nobody has a solution, and then.
constexpr int first_share = 2;
constexpr int most_share = -1;
constexpr int least_share_unsolved = 2;
constexpr int least_share = 6;
} // namespace

Improver::Improver(const Options& o, Search& s, const std::vector<WideTerm>& cost, Var n)
    : options(o), search(s), cost_terms(cost), variables(n), share(first_share) {}

/// Whether the constraint is one of the problem's, or follows from these, and speaks of the
/// problem's variables only.
bool Improver::isOwn(Ref ref) const {
  if (ref == search.objectiveRow()) return false;
  Header& c = search.constraints().at(ref);
  if (c.removed != 0) return false;
  bool own = true;
  forEachTerm(c, [&](Int128, Lit l) { own &= l.var() < variables; });
  return own;
}

/// Takes the rows. False when there are too many, or none that could be satisfied.
bool Improver::build() {
  work_before = spent();
  flips_before = flips();
  walk.reset();
  problem.reset();
  const Propagation& constraints = search.constraints();
  built_facts = constraints.assignment().start(1);
  std::size_t terms = 0;
  for (const Ref ref : constraints.problemConstraints()) terms += constraints.at(ref).size;
  if (terms > most_terms || variables > most_variables) return false;
  auto flat = std::make_unique<FlatProblem>(variables);
  for (const Ref ref : constraints.problemConstraints()) {
    if (!isOwn(ref)) continue;
    Header& c = search.constraints().at(ref);
    forEachTerm(c, [&](Int128 a, Lit l) { flat->addTerm(a, l); });
    if (!flat->endRow(degreeOf(c)) || search.isInterrupted()) return false;
  }
  if (!cost_terms.empty()) flat->setCost(cost_terms);
  flat->finish();
  work_before += 2 * terms;
  problem = std::move(flat);
  walk = std::make_unique<LocalSearch>(*problem, options.seed, search.interruption());
  return true;
}

bool Improver::isDue(std::uint64_t work) const {
  if (!options.local_search || hopeless) return false;
  const std::uint64_t allowed = work * options.pace;
  return share < 0 ? spent() <= allowed << -share : spent() << share <= allowed;
}

std::vector<bool> Improver::phases() const {
  std::vector<bool> tried(static_cast<std::size_t>(variables));
  for (Var v = 0; v < variables; v++)
    tried[static_cast<std::size_t>(v)] = search.decisions().savedPhase(v);
  return tried;
}

/// What this slice may spend without a better solution.
std::uint64_t Improver::patienceNow() const {
  const std::uint64_t size = problem->terms() + static_cast<std::uint64_t>(variables);
  return options.paced(
      std::min(least_patience + size * (cost_terms.empty() ? sizes_to_decide : sizes_to_optimise),
               slice_count == 0 ? first_patience : later_patience));
}

bool Improver::begin(std::vector<bool> at, bool has_solution) {
  const Trail& trail = search.constraints().assignment();
  const int facts = trail.start(1);
  if (walk == nullptr || facts - built_facts > variables / 10) hopeless = !build();
  if (hopeless) return false;
  is_solved = has_solution;
  const bool goes_on = at.empty() && !walk->assignment().empty();
  if (goes_on) at.assign(walk->assignment().begin(), walk->assignment().end());
  at.resize(static_cast<std::size_t>(variables));
  std::vector<bool> fixed(at.size());
  for (int i = 0; i < facts; i++) {
    const Lit l = trail[i];
    if (l.var() >= variables) continue;
    at[static_cast<std::size_t>(l.var())] = !l.negated();
    fixed[static_cast<std::size_t>(l.var())] = true;
  }
  if (problem->rows() == 1 && problem->hasCost() && slice_count == 0) {
    std::vector<bool> packed = solveKnapsack(*problem, at, fixed, knapsack_budget, work_before);
    if (!packed.empty()) at = std::move(packed);
  }
  walk->start(at, fixed, goes_on);
  patience = patienceNow();
  slice_end = walk->work() + options.paced(most_of_slice);
  found_some = false;
  slice_count++;
  return true;
}

bool Improver::next(const std::optional<Int128>& below) {
  assert(walk != nullptr);
  walk->setTarget(below ? static_cast<std::int64_t>((*below - 1) / problem->costDivisor())
                        : std::numeric_limits<std::int64_t>::max());
  const std::uint64_t end = std::min(slice_end, walk->work() + patience);
  while (walk->work() < end && !search.isInterrupted()) {
    if (!walk->run(std::min(chunk, end - walk->work()))) continue;
    const std::vector<char>& found = walk->solution();
    values.assign(found.begin(), found.end());
    if (!holds()) break; // the rows of the search say more than those of the walk: cannot be
    found_some = true;
    is_solved = true;
    return true;
  }
  share = found_some ? std::max(share - 2, most_share)
                     : std::min(share + 1, is_solved ? least_share : least_share_unsolved);
  return false;
}

/// Whether `values` satisfy all that the search holds at level 0 over the problem's variables.
bool Improver::holds() const {
  const Propagation& constraints = search.constraints();
  const Trail& trail = constraints.assignment();
  const auto isTrue = [&](Lit l) {
    return values[static_cast<std::size_t>(l.var())] != l.negated();
  };
  for (int i = 0; i < trail.start(1); i++)
    if (trail[i].var() < variables && !isTrue(trail[i])) return false;
  for (const Ref ref : constraints.problemConstraints()) {
    if (!isOwn(ref)) continue;
    Header& c = search.constraints().at(ref);
    Int128 sum = -degreeOf(c);
    forEachTerm(c, [&](Int128 a, Lit l) { sum += isTrue(l) ? a : 0; });
    if (sum < 0) return false;
  }
  return true;
}

} // namespace estoc
