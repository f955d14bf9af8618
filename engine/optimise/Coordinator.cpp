/// \file
/// The alternation of the strategies.
#include "Coordinator.h"

#include "presolve/Presolve.h"

#include <algorithm>
#include <limits>

namespace estoc {

namespace {
/// Conflicts of a slice.
constexpr std::uint64_t slice = 1000;
/// After so many conflicts it is seen whether the slice has done more work than it should.
constexpr std::uint64_t step = 100;
constexpr std::uint64_t most_work = 50000000;
/// What the linear strategy gets before there is a solution.
constexpr std::uint64_t first_slice = 5000;
/// Work of a slice of branching by the relaxation.
constexpr std::uint64_t lp_slice = 50000000;
/// Of a search around the best solution.
constexpr std::uint64_t neighbourhood_conflicts = 500;
constexpr std::uint64_t neighbourhood_work = 30000000;
/// Others do so many units of work for each one around the best solution: fewer after success.
constexpr std::uint64_t least_neighbourhood_share = 4;
constexpr std::uint64_t most_neighbourhood_share = 32;
/// Work of the cuts.
constexpr std::uint64_t cut_budget = 200000000;
/// Of a slice on the first optimum of the relaxation.
constexpr std::uint64_t first_lp = 200000000;
/// Within this part of the cost of the best solution nothing dives for better ones any more.
constexpr int near_enough = 256;
/// Of so many slices of branching one dives.
constexpr std::uint64_t dive_interval = 8;
/// Work on branching for so many units of the others: less where the relaxation is far from what
/// costs have been found.
constexpr std::uint64_t share_unit = 4;
constexpr std::uint64_t near_share = 24;
constexpr std::uint64_t medium_share = 8;
constexpr std::uint64_t far_share = 1;
/// The same while nothing is known of the gap, as the relaxation has not been solved yet.
constexpr std::uint64_t first_share = 8;
} // namespace

Coordinator::Coordinator(const Options& o, Search& s, Objective what, Var n)
    : options(o), search(s), objective(std::move(what)), problem_variables(n),
      core_guided(s, objective), improver(options, s, objective.terms, n), target(s, objective),
      neighbourhoods(s, n, o.seed) {}

std::optional<Int128> Coordinator::upperBound() const {
  if (!upper) return std::nullopt;
  return objective.value(*upper);
}

void Coordinator::raiseLower(Listener* listener, Int128 cost, Strategy by) {
  // Cores may rest on the demand for something better than the best solution.
  if (upper) cost = std::min(cost, *upper);
  if (cost <= lower) return;
  lower = cost;
  if (listener != nullptr) listener->onLowerBound(objective.value(lower), by);
}

/// The trail holds a model.
void Coordinator::takeModel(Listener* listener, Strategy by) {
  std::vector<bool> values(static_cast<std::size_t>(search.variables()));
  for (Var v = 0; v < search.variables(); v++)
    values[static_cast<std::size_t>(v)] = search.modelValue(v);
  takeSolution(listener, std::move(values), by);
}

/// If the solution, with values for all variables, is better than the best one,
/// it takes its place, and from now on a still better one is demanded.
bool Coordinator::takeSolution(Listener* listener, std::vector<bool> values, Strategy by) {
  const Int128 cost = objective.cost(values);
  if (upper && cost >= *upper) return false;
  values.resize(static_cast<std::size_t>(search.variables()));
  target.complete(values, cost);
  if (search.proof() != nullptr) writeSolution(values);
  search.decisions().setSolution(values);
  values.resize(static_cast<std::size_t>(problem_variables));
  best = std::move(values);
  const std::optional<Int128> before = upper;
  upper = cost;
  if (relaxer != nullptr) relaxer->demandLess(cost, upper_id);
  if (listener != nullptr) listener->onSolution(best, objective.value(cost), by);
  if (closed()) return true;
  if (before)
    search.raiseObjective(*before - cost, upper_id);
  else
    search.addObjective(objective.atMost(cost - 1), upper_id);
  return true;
}

/// The row that comes with the solution is one of the objective, which `scale` divides.
void Coordinator::writeSolution(const std::vector<bool>& values) {
  Proof& proof = *search.proof();
  const ProofId before = upper_id;
  upper_id = proof.improvingSolution(values);
  if (objective.scale == 1) return;
  Derivation derivation(proof);
  derivation.add(upper_id, 1);
  derivation.divide(objective.scale);
  upper_id = derivation.finish();
  proof.remove(before);
}

void Coordinator::concludeProof() {
  Proof& proof = *search.proof();
  Derivation derivation(proof);
  if (closed() && proof.contradictionId() == 0) {
    derivation.add(upper_id, 1);
    deriveLower(derivation);
    derivation.finish(); // cannot be met
    proof.contradiction();
  }
  std::vector<bool> values;
  if (upper) values = best;
  if (proof.contradictionId() != 0) {
    proof.concludeBounds(upperBound(), proof.contradictionId(), upperBound(), values);
    return;
  }
  deriveLower(derivation);
  ProofId lower_id = 0;
  if (!derivation.isEmpty()) {
    derivation.multiply(objective.scale);
    lower_id = derivation.finish();
  } else {
    lower_id = proof.rup(LearntRow());
  }
  proof.concludeBounds(lowerBound(), lower_id, upperBound(), values);
}

/// Once, before anything is learnt. False when there is no solution.
bool Coordinator::presolve() {
  if (!options.presolve || is_presolved) return true;
  is_presolved = true;
  if (search.isRefuted()) return false;
  Presolve presolve(options, search, &objective.terms, problem_variables);
  const bool fine = presolve.run();
  presolved_count = presolve.fixed();
  dropped_count = presolve.dropped();
  return fine;
}

/// Where the next slice of local search begins: at the phases, at the best solution or, if empty,
/// where the last one has ended, in turn. Without a solution a walk goes on for longer.
std::vector<bool> Coordinator::localStart() const {
  const std::uint64_t turn = improver.slices() % (upper ? 3 : 6);
  if (turn == 0) return improver.phases();
  return turn == 1 && upper ? best : std::vector<bool>();
}

/// Flips from `from`, values of the problem's variables, or where the last slice has ended.
Coordinator::SliceEnd Coordinator::localSlice(Listener* listener, std::vector<bool> from) {
  if (search.isRefuted() || !improver.begin(std::move(from), upper.has_value()))
    return SliceEnd::stuck;
  bool moved = false;
  while (improver.next(upper)) {
    std::vector<bool> values = improver.solution();
    core_guided.complete(values);
    if (!takeSolution(listener, std::move(values), Strategy::local_search)) break;
    moved = true;
    if (closed()) return SliceEnd::proven;
  }
  if (search.isInterrupted()) return SliceEnd::interrupted;
  return moved ? SliceEnd::moved : SliceEnd::stuck;
}

/// The best one of the sources of lower bounds.
void Coordinator::deriveLower(Derivation& derivation) const {
  const Int128 relaxed = relaxer != nullptr ? relaxer->lowerCost() : Int128{0};
  if (target.lowerCost() > std::max(relaxed, core_guided.lowerCost()))
    target.deriveBound(derivation);
  else if (relaxed > core_guided.lowerCost())
    derivation.add(relaxer->lowerId(), 1);
  else
    core_guided.deriveBound(derivation);
}

Coordinator::SliceEnd Coordinator::linearSlice(Listener* listener, std::uint64_t conflicts) {
  const std::uint64_t end = search.counters().conflicts + conflicts;
  const std::uint64_t last = search.work() + options.paced(most_work);
  bool moved = false;
  while (search.counters().conflicts < end && search.work() < last) {
    switch (search.run({}, std::min(step, end - search.counters().conflicts))) {
    case Outcome::model:
      takeModel(listener, Strategy::linear);
      moved = true;
      if (closed()) return SliceEnd::proven;
      break;
    case Outcome::unsatisfiable:
    case Outcome::core:
      return refuted();
    case Outcome::exhausted:
      break;
    case Outcome::interrupted:
      return SliceEnd::interrupted;
    }
  }
  return moved ? SliceEnd::moved : SliceEnd::stuck;
}

Coordinator::SliceEnd Coordinator::coreSlice(Listener* listener, std::uint64_t conflicts) {
  const std::uint64_t end = search.counters().conflicts + conflicts;
  const std::uint64_t last = search.work() + options.paced(most_work);
  bool moved = false;
  if (upper && !core_guided.harden(*upper, upper_id)) return SliceEnd::proven;
  while (search.counters().conflicts < end && search.work() < last) {
    const std::vector<Lit> assumptions = core_guided.assumptions();
    switch (search.run(assumptions, std::min(step, end - search.counters().conflicts))) {
    case Outcome::model:
      takeModel(listener, Strategy::core_guided);
      moved = true;
      if (closed()) return SliceEnd::proven;
      if (!core_guided.lowerThreshold()) {
        // Nothing costs less than what all assumptions together allow.
        raiseLower(listener, *upper, Strategy::core_guided);
        return SliceEnd::proven;
      }
      break;
    case Outcome::core:
      core_count++;
      moved = true;
      if (!core_guided.refine(search.core(), search.coreId())) return refuted();
      raiseLower(listener, core_guided.lowerCost(), Strategy::core_guided);
      if (closed()) return SliceEnd::proven;
      if (upper && !core_guided.harden(*upper, upper_id)) return SliceEnd::proven;
      break;
    case Outcome::unsatisfiable:
      return refuted();
    case Outcome::exhausted:
      break;
    case Outcome::interrupted:
      return SliceEnd::interrupted;
    }
  }
  return moved ? SliceEnd::moved : SliceEnd::stuck;
}

/// Once, before anything is learnt.
void Coordinator::startRelaxation() {
  if (!options.lp || slices > 0 || relaxer != nullptr) return;
  relaxer = Relaxer::make(search, search.objectiveRow(), problem_variables, &objective);
  if (relaxer == nullptr) return;
  branching = std::make_unique<Branching>(*relaxer, search);
  if (options.cuts) cut_loop = std::make_unique<CutLoop>(*relaxer, search);
  if (upper) relaxer->demandLess(*upper, upper_id);
}

/// States the next target, or none to dive, and lets the relaxation demand what there is to demand.
void Coordinator::aim(bool dive) {
  if (!upper) return;
  aimed_at = work();
  const Int128 gap = *upper - lower;
  const Int128 room = gap <= 1 ? Int128{0} : gap - 1;
  const Int128 most =
      lower + room / all_shares * target_share + room % all_shares * target_share / all_shares;
  if (dive || !options.targets || !target.isPossible() || most + 1 >= *upper)
    target.drop();
  else if (!target.isStated() || target.most() != most)
    target.state(most);
  if (target.isStated())
    relaxer->demandLess(target.most() + 1, target.id(), ~target.literal());
  else
    relaxer->demandLess(*upper, upper_id);
}

Coordinator::SliceEnd Coordinator::branchingSlice(Listener* listener, std::uint64_t budget) {
  // What local search has found may be bad, and then targets may be out of reach.
  const bool dive =
      !upper || (branching_slices % dive_interval == 0 && *upper - lower > *upper / near_enough);
  branching_slices++;
  if (dive) branching->forget();
  branching->begin(budget, dive);
  aim(dive);
  search.setGuide(branching.get());
  SliceEnd result = SliceEnd::stuck;
  for (bool ended = false; !ended;) {
    std::vector<Lit> assumptions;
    if (target.isStated()) assumptions.push_back(target.literal());
    const Outcome outcome = search.run(assumptions, std::numeric_limits<std::uint64_t>::max() / 2);
    raiseLower(listener, relaxer->lowerCost(), Strategy::lp);
    ended = true;
    switch (outcome) {
    case Outcome::model:
      takeModel(listener, Strategy::lp);
      result = closed() ? SliceEnd::proven : SliceEnd::moved;
      ended = closed() || dive;
      target_share = least_share;
      if (!dive) aim(false);
      break;
    case Outcome::core:
      // What was refuted at once was too low to be worth a step.
      if (work() - aimed_at < budget / 4) target_share = std::min(all_shares, 2 * target_share);
      result = SliceEnd::proven;
      if (!target.refute(search.coreId())) break;
      raiseLower(listener, target.lowerCost(), Strategy::lp);
      if (closed()) break;
      result = SliceEnd::moved;
      ended = false;
      aim(false);
      break;
    case Outcome::unsatisfiable:
      result = refuted();
      break;
    case Outcome::exhausted:
      if (closed()) result = SliceEnd::proven;
      if (result == SliceEnd::stuck && !dive) // a higher target, and after the highest a low one
        target_share = target_share < all_shares ? 2 * target_share : least_share;
      break;
    case Outcome::interrupted:
      result = SliceEnd::interrupted;
      break;
    }
  }
  search.setGuide(nullptr);
  if (dive) branching->forget();
  return result;
}

/// Searches around the best solution, while that gives better ones.
Coordinator::SliceEnd Coordinator::neighbourhoodSlice(Listener* listener) {
  target.drop();
  search.backToRoot();
  const std::vector<double> none;
  const std::vector<Lit> kept =
      neighbourhoods.choose(best, relaxer != nullptr ? relaxer->optimumValues() : none);
  const bool by_relaxation = neighbourhoods.isRelaxed();
  std::uint64_t conflicts = options.paced(neighbourhood_conflicts);
  if (by_relaxation) {
    relaxer->demandLess(*upper, upper_id);
    branching->forget();
    branching->begin(options.paced(neighbourhood_work), false);
    search.setGuide(branching.get());
    conflicts *= 4;
  }
  auto result = Neighbourhoods::Result::unclear;
  SliceEnd end = SliceEnd::stuck;
  for (bool ended = false; !ended;) {
    const Outcome outcome = search.run(kept, conflicts);
    ended = true;
    switch (outcome) {
    case Outcome::model:
      takeModel(listener, Strategy::neighbourhood);
      result = Neighbourhoods::Result::improved;
      end = closed() ? SliceEnd::proven : SliceEnd::moved;
      ended = closed();
      break;
    case Outcome::core:
      if (end == SliceEnd::stuck) result = Neighbourhoods::Result::refuted;
      break;
    case Outcome::unsatisfiable:
      end = SliceEnd::proven;
      break;
    case Outcome::exhausted:
      break;
    case Outcome::interrupted:
      end = SliceEnd::interrupted;
      break;
    }
  }
  search.setGuide(nullptr);
  if (by_relaxation) branching->forget();
  search.backToRoot();
  neighbourhoods.note(result);
  neighbourhood_share = result == Neighbourhoods::Result::improved
                            ? std::max(least_neighbourhood_share, neighbourhood_share / 2)
                            : std::min(most_neighbourhood_share, neighbourhood_share * 5 / 4);
  return end;
}

/// Rounds of cuts at level 0.
Coordinator::SliceEnd Coordinator::cutSlice(Listener* listener, std::uint64_t budget) {
  target.drop();
  if (upper) relaxer->demandLess(*upper, upper_id);
  search.backToRoot();
  cut_loop->begin(budget, options.paced(first_lp));
  search.setGuide(cut_loop.get());
  const Outcome outcome = search.run({}, std::numeric_limits<std::uint64_t>::max() / 2);
  search.setGuide(nullptr);
  raiseLower(listener, relaxer->lowerCost(), Strategy::lp);
  if (outcome == Outcome::unsatisfiable) return refuted();
  if (outcome == Outcome::interrupted) return SliceEnd::interrupted;
  if (closed()) return SliceEnd::proven;
  return cut_loop->hasBegun() ? SliceEnd::moved : SliceEnd::stuck;
}

Verdict Coordinator::run(Listener* listener) {
  if (!presolve()) return Verdict::unsatisfiable;
  startRelaxation();
  Strategy turn = relaxer != nullptr ? Strategy::lp : Strategy::linear;
  int streak = 0; ///< slices in a row that have moved a bound
  for (;;) {
    if (improver.isDue(work())) {
      const SliceEnd end = localSlice(listener, localStart());
      if (end == SliceEnd::proven) return Verdict::optimal;
      if (end == SliceEnd::interrupted) return upper ? Verdict::satisfiable : Verdict::unknown;
    }
    const std::uint64_t before = work();
    const std::optional<Int128> upper_before = upper;
    const Int128 lower_before = lower;
    if (options.solution_phases) search.decisions().useSolution(slices % 4 == 3);
    const std::uint64_t conflicts = options.paced(!upper && work_of[0] == 0 ? first_slice : slice);
    const bool cutting = turn == Strategy::lp && branching_slices == 0 && cut_loop != nullptr &&
                         !cut_loop->hasBegun();
    const SliceEnd end = turn == Strategy::neighbourhood ? neighbourhoodSlice(listener)
                         : turn == Strategy::linear      ? linearSlice(listener, conflicts)
                         : turn == Strategy::core_guided ? coreSlice(listener, conflicts)
                         : cutting ? cutSlice(listener, options.paced(cut_budget))
                                   : branchingSlice(listener, options.paced(lp_slice));
    slices++;
    work_of[static_cast<int>(turn)] += work() - before;
    weigh(turn, upper != upper_before || lower != lower_before);
    switch (end) {
    case SliceEnd::proven:
      raiseLower(listener, *upper, turn);
      return Verdict::optimal;
    case SliceEnd::infeasible:
      return Verdict::unsatisfiable;
    case SliceEnd::interrupted:
      return upper ? Verdict::satisfiable : Verdict::unknown;
    case SliceEnd::moved:
    case SliceEnd::stuck:
      break;
    }
    streak = end == SliceEnd::moved ? streak + 1 : 0;
    if (streak > 0 && streak < 4) continue;
    streak = 0;
    turn = next();
  }
}

/// A slice of `turn` has ended. Branching gets less while conflict-driven search makes progress,
/// and more again when it does so itself.
void Coordinator::weigh(Strategy turn, bool progress) {
  if (!progress) return;
  if (turn == Strategy::lp)
    branching_worth = std::min(all_worth, 2 * branching_worth);
  else if (turn != Strategy::neighbourhood)
    branching_worth = std::max(std::uint64_t{1}, branching_worth * 3 / 4);
}

std::uint64_t Coordinator::branchingShare() const {
  if (cut_loop != nullptr && !cut_loop->hasBegun()) return first_share;
  if (!upper) return near_share;
  const Int128 gap = *upper - lower;
  return gap <= *upper / 10 ? near_share : gap <= *upper / 4 ? medium_share : far_share;
}

/// Who has had least of what is due. Cores have far to go to a bound that the relaxation has
/// beaten, and get less then.
Strategy Coordinator::next() const {
  const auto had = [&](Strategy s) { return work_of[static_cast<int>(s)]; };
  const bool beaten = relaxer != nullptr && relaxer->lowerCost() > core_guided.lowerCost();
  const std::uint64_t by_cores = had(Strategy::core_guided) * (beaten ? 4 : 1);
  Strategy chosen = Strategy::linear;
  if (options.core_guided && by_cores < had(Strategy::linear)) chosen = Strategy::core_guided;
  if (relaxer != nullptr &&
      had(Strategy::lp) * share_unit / branchingShare() * all_worth < had(chosen) * branching_worth)
    chosen = Strategy::lp;
  if (options.neighbourhoods && upper &&
      had(Strategy::neighbourhood) < work() / neighbourhood_share)
    chosen = Strategy::neighbourhood;
  return chosen;
}

} // namespace estoc
