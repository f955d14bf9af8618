/// \file
/// All stored constraints, and what they imply under the trail.
#ifndef ESTOC_PROPAGATION_PROPAGATION_H
#define ESTOC_PROPAGATION_PROPAGATION_H

#include "Prefetch.h"
#include "Trail.h"
#include "Watches.h"
#include "constraints/Constraint.h"
#include "constraints/Row.h"
#include "proof/Proof.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace estoc {

/// Somebody who is told when literals lose their values.
class UnassignListener {
 public:
  /// The literals of the trail from place `first` on, which are still there.
  virtual void onUnassign(int first) = 0;

 protected:
  ~UnassignListener() = default;
};

/// Constraints and trail. Clauses are watched by two literals, cardinalities by degree + 1 of
/// them. General constraints count: each keeps the sum over the literals that it has not yet seen
/// falsified, less its degree (its slack), and implies every literal with a larger coefficient.
/// Where few literals reach degree and largest coefficient together, only these are counted, and
/// others as they become false. A literal is seen once propagation has come to it on the trail.
/// Clauses are propagated before rows (cardinalities and general constraints), since they are
/// cheaper.
class Propagation {
 public:
  /// What has been done so far, for statistics and for budgets.
  struct Work {
    std::uint64_t literals = 0;      ///< literals propagated
    std::uint64_t clause_visits = 0; ///< entries of watch lists of clauses looked at
    std::uint64_t row_visits = 0;    ///< the same for cardinalities and general constraints
    std::uint64_t terms = 0;         ///< literals and terms looked at inside constraints
    /// One number for budgets.
    std::uint64_t total() const { return literals + clause_visits + row_visits + terms; }
  };

  explicit Propagation(UnassignListener& l) : listener(l) {}
  /// Where deletions are written; nowhere if null.
  void setProof(Proof* p) { proof = p; }

  void addVariable();

  /// Stores and attaches `row`, which is in normal form without variables assigned at level 0 (the
  /// current level may be another one), has at least two terms and a degree of at least 1. `glue`
  /// counts for learnt constraints only; `id` is the constraint's number in the proof, 0 without
  /// one. The constraint may imply something at once: call `imply`.
  template <class C, class D>
  Ref add(const RowOf<C, D>& row, bool learnt, unsigned glue, ProofId id) {
    return attach(store(row, learnt, glue, id));
  }
  /// Stores `row`, one of the problem, likewise at level 0, but does not attach it yet: nothing
  /// else may be done then but to add more in this way and to enqueue, until `attach`. Done for
  /// many rows together that takes less time and memory, since the length of each watch list is
  /// known.
  template <class C, class D> void addDetached(const RowOf<C, D>& row, ProofId id) {
    store(row, false, 0, id);
    detached++;
  }
  /// Attaches what has been stored by `addDetached`, in that order.
  void attach();
  /// The same as `add` for a clause of at least two literals, which need no order.
  Ref addClause(const Lit* literals, std::size_t size, bool learnt, unsigned glue, ProofId id);
  /// The same for a row that stays a general constraint whatever it looks like and whose degree can
  /// be raised. `row` need not be saturated; its sum is below 2^127.
  Ref addObjective(const Row& row, ProofId id);
  /// Raises the degree of the general constraint `ref` by `amount`; it is constraint `id` of the
  /// proof then. Call `imply` afterwards.
  void raiseDegree(Ref ref, Int128 amount, ProofId id);

  /// Enqueues what constraint `ref`, just added or raised, implies; false when it is falsified.
  bool imply(Ref ref);
  /// Propagates all that is pending. The constraint in conflict, or `no_ref`.
  Ref propagate();
  /// Until the next call the clause `ref`, of at least three literals, implies nothing, and is not
  /// in conflict. With another one or `no_ref` the one before counts again, once the trail is back
  /// at level 0.
  void ignore(Ref ref) { ignored = ref; }
  /// Whether all that is on the trail has been propagated.
  bool isComplete() const { return clause_head == trail.size() && row_head == trail.size(); }

  void openLevel() { trail.openLevel(); }
  void enqueue(Lit l, Ref reason) { push(l, reason); }
  /// Takes back all levels above `level`.
  void backjump(int level);

  const Trail& assignment() const { return trail; }
  Header& at(Ref ref) { return *static_cast<Header*>(arena.at(ref)); }
  const Header& at(Ref ref) const { return *static_cast<const Header*>(arena.at(ref)); }
  const std::vector<Ref>& problemConstraints() const { return problem; }
  const std::vector<Ref>& learntConstraints() const { return learnts; }
  /// Calls `f(ref)` for all of these, among them some that are marked as gone. `f` adds none.
  template <class F> void forEachConstraint(F&& f) const {
    for (const auto* list : {&problem, &learnts})
      for (const Ref ref : *list) f(ref);
  }
  /// Marks a constraint as gone. It takes part until `collect`, so call that before propagating.
  void remove(Ref ref) {
    if (proof != nullptr) {
      proof->settle(trail);
      proof->remove(at(ref).id);
    }
    discard(ref);
  }
  /// The same without a word in the proof.
  void discard(Ref ref) {
    at(ref).removed = 1;
    removed_bytes += bytesOf(at(ref));
  }
  /// Gives the memory of removed constraints back. A constraint that is the reason of an assigned
  /// variable must not be among them. All references change: `moved` are places that hold
  /// one and are brought up to date (`no_ref` for one that has gone).
  void collect(std::initializer_list<Ref*> moved = {});

  const CompactList<ClauseWatch>& clauseWatches(Lit l) const { return watches[l.index()].clauses; }
  const CompactList<RowWatch>& rowWatches(Lit l) const { return watches[l.index()].rows; }
  /// How far general constraints have seen the trail.
  int seenByRows() const { return row_head; }
  const Work& work() const { return done; }
  std::size_t bytes() const;

 private:
  Trail trail;
  Arena arena;
  UnassignListener& listener;
  std::vector<LiteralWatches> watches; ///< per literal: who watches or counts it
  std::vector<Ref> problem;            ///< stored constraints, in order
  std::size_t detached = 0;            ///< so many of the last ones are not attached
  std::vector<Ref> learnts;
  int clause_head = 0; ///< where propagation of clauses stands in the trail
  int row_head = 0;    ///< the same for rows, never ahead of clauses
  std::size_t removed_bytes = 0;
  Ref ignored = no_ref;
  Work done;
  Proof* proof = nullptr;

  template <class T>
  T& create(Kind kind, std::size_t size, bool learnt, unsigned glue, ProofId id, Ref& ref);
  template <class R> Ref store(const R& row, bool learnt, unsigned glue, ProofId id);
  template <class R> Ref storeClause(const R& row, bool learnt, unsigned glue, ProofId id);
  template <class R> Ref storeCardinality(const R& row, bool learnt, unsigned glue, ProofId id);
  template <class G, class R>
  Ref storeGeneral(Kind kind, const R& row, bool learnt, unsigned glue, ProofId id);
  Ref attach(Ref ref);
  void watchFirst(Lit* literals, std::size_t size, std::size_t count);

  void push(Lit l, Ref reason) {
    trail.push(l, reason);
    prefetch(&watches[(~l).index()]);
  }
  Ref propagateClauses(Lit falsified);
  Ref propagateRows(Lit falsified);
  bool visitCardinality(Ref ref, std::uint32_t place, Lit falsified, bool& keep);
  template <class G> void implyGeneral(G& g, Ref ref);
  /// Whether the last literal that was seen to satisfy g still does. It does then until one of the
  /// literals falsified so far is taken back, which all are of its level or a later one.
  template <class G> bool isSatisfied(const G& g) const {
    const auto& t = g.terms()[g.satisfier];
    return t.coefficient >= g.degree && trail.isTrue(t.literal);
  }
  bool visitPartial(General32& g, Ref ref, std::uint32_t index, bool& keep);
  bool watchSome(General32& g, Ref ref);
  void giveBack(const CompactList<RowWatch>& list);
};

} // namespace estoc

#endif
