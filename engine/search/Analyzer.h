/// \file
/// Conflict analysis: what a conflict teaches.
#ifndef ESTOC_SEARCH_ANALYZER_H
#define ESTOC_SEARCH_ANALYZER_H

#include "Decider.h"
#include "expression/Expression.h"
#include "propagation/Propagation.h"

#include <memory>
#include <vector>

namespace estoc {

/// What came out of an analysis: a constraint that follows from the others.
struct Learnt {
  bool is_clause = false;
  std::vector<Lit> clause; ///< if `is_clause`
  LearntRow row;           ///< otherwise, in normal form
  ProofId id = 0;          ///< its number in the proof, if one is written
  int level = 0;           ///< the lowest level at which it implies something
  unsigned glue = 0;       ///< decision levels among its falsified literals
};

/// Resolves a conflict backwards over the trail with the reasons of the literals that it depends
/// on. While these are clauses this is resolution over literals (Marques-Silva and Sakallah, 1996).
/// As soon as a row takes part it is cutting planes on the dense expression: the reason is rounded
/// so that the implied literal has coefficient 1 (literals that are not falsified are weakened
/// until the divisor fits, so that nothing is lost by rounding), and added as often as it takes to
/// cancel the literal. The sum stays falsified; that is the invariant. Source: Elffers and
/// Nordström, Divide and conquer (2018).
class Analyzer {
 public:
  /// Coefficients of what is learnt have at most this many bits.
  static constexpr int learnt_bits = 29;

  Analyzer(Propagation& p, Decider& d) : propagation(p), trail(p.assignment()), decider(d) {}

  void addVariable();
  /// For tests: the width (0 to 3) below which no derivation starts.
  void setSmallestWidth(int w) { smallest_width = w; }
  /// Whether clauses are minimised.
  void setMinimise(bool on) { minimising = on; }
  /// Whether what does not fit the divisor leaves a reason as a whole, or only as far as needed.
  void setWeakenFully(bool fully) { weaken_fully = fully; }
  /// Where derivations are written. A row is stated anew, short of many, when that spares `terms`
  /// terms in a step.
  void setProof(Proof& p, std::size_t terms);
  /// Whether a learnt row loses what it does not need to imply something where it is learnt.
  void setWeakenLearnt(bool on) { weaken_learnt = on; }

  /// Analyses the conflict that `conflict` is falsified. False when this shows that there is no
  /// solution at all; otherwise `out` holds what has been learnt.
  bool analyze(Ref conflict, Learnt& out);
  /// `assumed` is a literal that the decisions below have made false. Derives into `core` a row,
  /// over negated decisions and ~`assumed` only, that these falsify. False when this shows that
  /// there is no solution at all. `id` becomes the row's number in the proof, if one is written.
  bool explainFailure(Lit assumed, LearntRow& core, ProofId& id);

  /// The lowest level at which `row`, which is in normal form and implies something or is falsified
  /// under the trail, does so; the current level if it does neither.
  int lowestImplying(const LearntRow& row);

  /// Literals and terms handled, for budgets.
  std::uint64_t work() const { return steps; }

 private:
  Propagation& propagation;
  const Trail& trail;
  Decider& decider;
  int smallest_width = 0;
  bool weaken_fully = false;
  bool weaken_learnt = false;
  bool minimising = true;
  std::uint64_t steps = 0;

  // The state of one analysis
  int level = 0;             ///< the conflict is falsified at this level, not at an earlier one
  int at = 0;                ///< the trail is looked at as if it ended here
  bool to_decisions = false; ///< go on until only decisions are left
  Lit failed;                ///< taken for falsified, too
  int start = 0;             ///< where `at` was at first
  std::size_t width = 0;

  // The proof
  Proof* proof = nullptr;
  std::unique_ptr<Derivation> derivation;        ///< of what is being learnt; null without a proof
  std::unique_ptr<Derivation> reason_derivation; ///< of the rounded reason
  std::vector<Lit> root_false; ///< literals false at level 0 of the clauses resolved
  std::vector<Lit> before_minimising;
  std::vector<Var> weakened; ///< what a learnt row has lost
  /// What rounding does to the terms of a reason, by their places; all others are weakened away.
  struct {
    std::vector<std::uint32_t> kept;    ///< falsified, implied, or a multiple of the divisor
    std::vector<std::uint32_t> changed; ///< some of these, which are weakened to a multiple
    std::vector<std::uint32_t> fixed;   ///< at level 0; not `kept`
  } noted;
  std::vector<Lit> stated_clause;
  Row stated;
  std::size_t spared_terms = 0;
  std::vector<ProofId> passing; ///< rows that serve this derivation only
  void beginProof();
  void writeResolution(Ref ref);
  void writeMinimisation();
  void noteFixed(Header& c);
  ProofId leanForm(Header& c);
  void dropFixed(Header& c);
  void writePlain(Header& c);
  void writeReason(Header& c, Int128 divisor, Int128 degree);
  /// Whether stating the `kept` terms of a row is shorter than weakening the `gone` ones away.
  bool isShorterStated(std::size_t kept, std::size_t gone) const {
    return gone > 2 * kept + spared_terms;
  }
  void writeWeakening(const LearntRow& row);
  ProofId finishDerivation();
  void noteRootFalse(Lit l);
  void dropRootFalse();

  // Resolution of clauses
  std::vector<char> seen; ///< per variable: occurs in what is being resolved
  std::vector<Lit> lower; ///< its literals below `level`
  std::vector<Var> to_clear;
  enum class ClauseResult { learnt, contradiction, row };
  ClauseResult resolveClauses(Ref conflict, Learnt& out);
  void see(Lit l, int& open);
  void minimise(std::vector<Lit>& clause);
  bool isRedundant(Lit l, std::uint32_t levels);
  std::vector<signed char> redundancy; ///< per variable, during `minimise`
  std::vector<Lit> redundancy_known;   ///< whose entry there is not 0
  struct Frame {
    const Lit* next;
    const Lit* end;
    Lit self;
  };
  std::vector<Frame> minimise_stack;
  static std::uint32_t levelBit(int l) {
    return std::uint32_t{1} << (static_cast<unsigned>(l) & 31U);
  }

  // Cutting planes
  Expression<Narrow> narrow;
  Expression<Middle> middle;
  Expression<Broad> broad;
  Expression<Unbounded> unbounded;
  std::vector<Term<std::int64_t>> rounded64;
  std::vector<Term<Int128>> rounded128;
  std::vector<Term<std::int32_t>> spare_terms;
  enum class RowResult { done, contradiction, widen, shrink };
  enum class Standing { open, implying, falsified };

  bool finish(Learnt& out);
  template <class W> RowResult resolveRows(Expression<W>& e);
  template <class W> bool addReason(Expression<W>& e, Lit implied);
  template <class W, class N>
  bool addRounded(Expression<W>& e, const std::vector<Term<N>>& terms, const N& degree,
                  Lit implied);
  template <class W> Standing standingBelow(const Expression<W>& e, int l);
  template <class W> int lowestFalsified(const Expression<W>& e);
  template <class W> void reduce(Expression<W>& e, int bits);
  template <class W> void load(Expression<W>& e, Ref ref);
  template <class W> void extract(Expression<W>& e, LearntRow& row);
  template <class W> bool isFalsifiedSum(const Expression<W>& e) const;
  /// Calls `f` with the expression of width number w, which has room for all variables then.
  template <class F> void withWidth(std::size_t w, F&& f) {
    const auto prepared = [&](auto& e) {
      e.growTo(trail.variables());
      f(e);
    };
    if (w == 0)
      prepared(narrow);
    else if (w == 1)
      prepared(middle);
    else if (w == 2)
      prepared(broad);
    else
      prepared(unbounded);
  }
  void widen();
  bool isFalsified(Lit l) const {
    if (!trail.isFalse(l)) return l == failed;
    const int position = trail.position(l.var());
    // On the way to the decisions these stay when the rest of the trail has been resolved.
    return position < at || (to_decisions && position < start && trail.reason(l.var()) == no_ref);
  }
  void weakenLearnt(LearntRow& row, int l);
  std::vector<std::int64_t> level_sums; ///< per level: what is falsified, during `lowestImplying`
  void noteUse(Header& c);
  unsigned countLevels(const std::vector<Lit>& falsified);
  std::vector<std::uint32_t> level_stamps;
  std::uint32_t level_stamp = 0;
};

} // namespace estoc

#endif
