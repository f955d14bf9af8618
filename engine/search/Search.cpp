/// \file
/// The main loop of the search.
#include "Search.h"

#include "estoc/Solver.h"
#include "numbers/Xorshift.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr std::uint64_t progress_interval = 256; ///< conflicts between two words to the listener
/// What the guide derives goes at the next reduction if it has been of no use.
constexpr unsigned guided_glue = 1000;
constexpr std::uint64_t spared_terms = 16; ///< see `Analyzer::setProof`
} // namespace

Search::Search(const Options& o, const std::atomic<bool>& interrupt)
    : options(o), interrupted(interrupt), propagation(*this), trail(propagation.assignment()),
      decider(trail), analyzer(propagation, decider), inprocessing(options, propagation, interrupt),
      random(o.seed * 0x9E3779B97F4A7C15U) {
  analyzer.setSmallestWidth(options.smallest_width);
  analyzer.setWeakenFully(options.weaken_fully);
  analyzer.setWeakenLearnt(options.weaken_learnt);
  analyzer.setMinimise(options.minimise);
  decider.setStable(!options.focused_mode);
}

void Search::setProof(Proof& p) {
  proof_written = &p;
  derivation = std::make_unique<Derivation>(p);
  propagation.setProof(&p);
  analyzer.setProof(p, static_cast<std::size_t>(options.paced(spared_terms)));
  inprocessing.setProof(p);
}

Var Search::addVariable(bool phase, bool own) {
  if (proof_written != nullptr) proof_written->addVariable(own);
  propagation.addVariable();
  analyzer.addVariable();
  decider.addVariable(phase);
  if (options.seed != 0) {
    // Enough to break ties another way; a conflict counts 1.
    decider.favour(trail.variables() - 1, static_cast<double>(xorshift(random) >> 40) * 1e-12);
  }
  return trail.variables() - 1;
}

/// What comes after the discovery that there is no solution (left).
bool Search::noSolution() {
  if (proof_written != nullptr) proof_written->contradiction();
  return ok = false;
}

/// Makes literals true at level 0; false when one is false already. In the proof they follow by
/// propagation.
bool Search::enqueueFacts(const std::vector<Lit>& facts) {
  assert(trail.level() == 0);
  for (const Lit l : facts) {
    if (trail.isFalse(l)) return noSolution();
    if (!trail.isTrue(l)) {
      if (proof_written != nullptr) proof_written->needUnit(l);
      propagation.enqueue(l, no_ref);
      count.learnt_units++;
    }
  }
  return true;
}

/// Brings a row into normal form; facts in it are made true, and its number in the proof becomes
/// that of the normal form. `trivial` if nothing is left of it.
template <class N> RowState Search::prepare(RowOf<N, N>& row, ProofId& id) {
  if (!ok) return RowState::contradiction;
  propagation.backjump(0);
  if (proof_written != nullptr) {
    proof_written->settle(trail);
    derivation->clear();
    derivation->push(id);
    derivation->add();
  }
  const RowState state = normalise(row, trail, units, derivation.get());
  if (state == RowState::contradiction) noSolution();
  if (state == RowState::contradiction || !enqueueFacts(units)) return RowState::contradiction;
  if (proof_written != nullptr && (state == RowState::trivial || !derivation->isCopy())) {
    const ProofId before = id;
    if (state == RowState::row) {
      id = derivation->finish();
      proof_written->noteOrigin(id, before);
    }
    proof_written->remove(before);
  }
  return state; // a row implies nothing now, or it would have become units
}

bool Search::addRow(Row row, bool is_learnt, ProofId id, unsigned glue) {
  const RowState state = prepare(row, id);
  if (state == RowState::row) propagation.add(row, is_learnt, glue, id);
  return ok;
}

template <class N> bool Search::addDetached(RowOf<N, N>& row, ProofId id) {
  const RowState state = prepare(row, id);
  if (state == RowState::row) propagation.addDetached(row, id);
  return ok;
}
template bool Search::addDetached(Row& row, ProofId id);
template bool Search::addDetached(SmallRow& row, ProofId id);

bool Search::renewRow(Ref ref) {
  Header& c = propagation.at(ref);
  Row row;
  row.terms.reserve(c.size);
  forEachTerm(c, [&](Int128 a, Lit l) { row.terms.push_back({a, l}); });
  row.degree = degreeOf(c);
  const ProofId id = c.id;
  propagation.discard(ref);
  return addRow(std::move(row), false, id);
}

void Search::dropRow(Ref ref, const std::vector<ProofId>& by) {
  if (proof_written != nullptr) {
    proof_written->settle(trail);
    proof_written->removeWithOrigin(propagation.at(ref).id, by);
  }
  propagation.discard(ref);
}

bool Search::addFact(Lit l) {
  if (!ok) return false;
  propagation.backjump(0);
  return enqueueFacts({l});
}

void Search::addRedundantFact(Lit l, const std::vector<Substitution>& witness) {
  propagation.backjump(0);
  if (proof_written != nullptr)
    proof_written->setUnit(l, proof_written->redundant(Row{{{1, l}}, 1}, witness));
  enqueueFacts({l});
}

bool Search::probe(std::uint64_t budget) {
  const std::uint64_t before = work();
  const std::vector<signed char> phases = decider.phases();
  const bool fine = inprocessing.probe(budget);
  decider.setPhases(phases);
  inprocessing_work += work() - before;
  return fine || noSolution();
}

bool Search::propagateFacts() {
  if (!ok) return false;
  propagation.backjump(0);
  return propagation.propagate() == no_ref || noSolution();
}

Ref Search::addObjective(const Row& row, ProofId id) {
  propagation.backjump(0);
  objective = propagation.addObjective(row, id);
  objective_raised = true;
  return objective;
}

void Search::addTarget(const Row& row, ProofId id) {
  assert(target == no_ref);
  propagation.backjump(0);
  target = propagation.addObjective(row, id);
  const bool fine = propagation.imply(target);
  assert(fine);
  static_cast<void>(fine);
}

void Search::dropTarget() {
  propagation.backjump(0);
  if (target == no_ref) return;
  propagation.remove(target);
  propagation.collect({&objective, &target});
}

void Search::raiseObjective(Int128 amount, ProofId id) {
  assert(objective != no_ref);
  propagation.raiseDegree(objective, amount, id);
  objective_raised = true;
}

/// Installs what has been learnt, at the level where it implies something.
bool Search::install() {
  propagation.backjump(learnt.level);
  if (learnt.is_clause ? learnt.clause.size() == 1 : learnt.level == 0) {
    if (learnt.is_clause) {
      if (proof_written != nullptr) proof_written->setUnit(learnt.clause[0], learnt.id);
      return enqueueFacts(learnt.clause);
    }
    return addRow(widened(learnt.row), true, learnt.id); // level 0 may know more of it by now
  }
  Ref ref;
  if (learnt.is_clause) {
    ref = propagation.addClause(learnt.clause.data(), learnt.clause.size(), true, learnt.glue,
                                learnt.id);
    count.learnt_clauses++;
  } else {
    ref = propagation.add(learnt.row, true, learnt.glue, learnt.id);
    if (propagation.at(ref).kind == Kind::cardinality)
      count.learnt_cardinalities++;
    else
      count.learnt_general++;
  }
  learnt_terms += propagation.at(ref).size;
  propagation.at(ref).used = 2;
  const bool implied = propagation.imply(ref);
  assert(implied);
  return implied;
}

/// Learns from a conflict and goes back to where that implies something. False when there is no
/// solution.
bool Search::resolve(Ref conflict) {
  count.conflicts++;
  if (listener != nullptr && count.conflicts % progress_interval == 0) listener->onProgress();
  decider.noteTrail(trail.start(trail.level()));
  if (!analyzer.analyze(conflict, learnt)) return noSolution();
  recent_glue.add(learnt.glue);
  usual_glue.add(learnt.glue);
  const bool fine = install();
  decider.endConflict();
  return fine;
}

/// Inprocessing, at a fixpoint at level 0. False when there is no solution.
bool Search::simplify() {
  const std::uint64_t before = work();
  const std::vector<signed char> phases = decider.phases();
  const bool fine = inprocessing.run(count.conflicts, before - inprocessing_work);
  decider.setPhases(phases);
  inprocessing_work += work() - before;
  if (!fine) return noSolution();
  if (inprocessing.takeChanged()) propagation.collect({&objective, &target});
  return true;
}

/// Adds what the guide has derived, and learns from it if it is falsified. False when there is no
/// solution.
bool Search::learn(const LearntRow& row, ProofId id) {
  if (row.terms.size() < 2 || trail.level() == 0) // level 0 knows how to take any row
    return addRow(widened(row), true, id, guided_glue);
  // As for whatever is learnt, the trail goes back to where the row first implies something: what
  // it implies would else be forgotten when the trail goes back there for another reason.
  const int lowest = analyzer.lowestImplying(row);
  const auto isFalsified = [&] {
    std::int64_t sum = -row.degree;
    for (const auto& t : row.terms)
      if (!trail.isFalse(t.literal)) sum += t.coefficient;
    return sum < 0;
  };
  if (!isFalsified()) propagation.backjump(lowest);
  const Ref ref = propagation.add(row, true, guided_glue, id);
  learnt_terms += row.terms.size();
  while (!propagation.imply(ref)) {
    if (!resolve(ref)) return false;
    propagation.backjump(lowest);
  }
  return true;
}

/// The next assumption, or else a variable.
Search::Decision Search::decide(const std::vector<Lit>& assumptions) {
  while (trail.level() < static_cast<int>(assumptions.size())) {
    const Lit a = assumptions[static_cast<std::size_t>(trail.level())];
    if (trail.isFalse(a)) {
      if (trail.isRootFalse(a)) {
        failure.terms = {{1, ~a}};
        failure.degree = 1;
        if (proof_written != nullptr) failure_id = proof_written->rup(failure);
      } else {
        if (!analyzer.explainFailure(a, failure, failure_id)) noSolution();
        decider.endConflict();
      }
      return Decision::failed;
    }
    propagation.openLevel(); // without a literal if it is true already
    if (trail.isTrue(a)) continue;
    propagation.enqueue(a, no_ref);
    return Decision::made;
  }
  const Var v = decider.next();
  if (v < 0) return Decision::none;
  count.decisions++;
  propagation.openLevel();
  propagation.enqueue(decider.literal(v), no_ref);
  return Decision::made;
}

Outcome Search::run(const std::vector<Lit>& assumptions, std::uint64_t conflicts) {
  if (!ok) return Outcome::unsatisfiable;
  int common = 0; // levels that belong to the same assumptions as before
  while (common < trail.level() && static_cast<std::size_t>(common) < assumptions.size() &&
         static_cast<std::size_t>(common) < assumed.size() &&
         assumptions[static_cast<std::size_t>(common)] == assumed[static_cast<std::size_t>(common)])
    common++;
  if (common < static_cast<int>(std::max(assumptions.size(), assumed.size())))
    propagation.backjump(common);
  assumed = assumptions;

  const std::uint64_t end = count.conflicts + conflicts;
  for (;;) {
    Ref conflict = no_ref;
    if (trail.level() < objective_level) { // what it implied has been taken back, not what made it
      propagation.raiseDegree(objective, 0, propagation.at(objective).id);
      objective_raised = true;
    }
    if (objective_raised) {
      objective_level = trail.level();
      if (!propagation.imply(objective)) conflict = objective;
    }
    objective_raised = false;
    if (conflict == no_ref) conflict = propagation.propagate();
    audit(conflict == no_ref ? AuditPoint::fixpoint : AuditPoint::conflict);
    if (conflict != no_ref) {
      if (!resolve(conflict)) return Outcome::unsatisfiable;
      audit(AuditPoint::learnt);
      continue;
    }
    if (interrupted.load(std::memory_order_relaxed)) return Outcome::interrupted;
    if (count.conflicts >= end) return Outcome::exhausted;
    if ((guide == nullptr || guide->allowsRestarts()) && restarting()) {
      restart();
      continue;
    }
    if (inprocessing.isDue(count.conflicts)) {
      if (trail.level() > 0) {
        propagation.backjump(0); // and once more to a fixpoint
        continue;
      }
      if (!simplify()) return Outcome::unsatisfiable;
      audit(AuditPoint::reduced);
      continue;
    }
    if (count.conflicts >= next_reduction || learnt_terms > most_learnt_terms) {
      reduce();
      audit(AuditPoint::reduced);
      continue;
    }
    if (guide != nullptr && trail.level() >= static_cast<int>(assumptions.size())) {
      const Advice advice = guide->advise();
      switch (advice.kind) {
      case Advice::Kind::decide:
        count.decisions++;
        propagation.openLevel();
        propagation.enqueue(advice.literal, no_ref);
        continue;
      case Advice::Kind::learn:
        if (!learn(*advice.row, advice.id)) return Outcome::unsatisfiable;
        continue;
      case Advice::Kind::stop:
        return interrupted.load(std::memory_order_relaxed) ? Outcome::interrupted
                                                           : Outcome::exhausted;
      case Advice::Kind::infeasible:
        noSolution();
        return Outcome::unsatisfiable;
      case Advice::Kind::none:
        break;
      }
    }
    const Decision decision = decide(assumptions);
    if (decision == Decision::failed) return ok ? Outcome::core : Outcome::unsatisfiable;
    if (decision == Decision::none) return Outcome::model;
  }
}

} // namespace estoc
