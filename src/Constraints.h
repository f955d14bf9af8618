/// \file
/// The constraints the solver stores: the interface they share, the clause, and the
/// pseudo-Boolean constraint with its construction, propagation, learning and objective.
#ifndef QUILLON_CONSTRAINTS_H
#define QUILLON_CONSTRAINTS_H

#include "BlockPool.h"
#include "Global.h"
#include "RunEnd.h"
#include "SolverTypes.h"
#include "WatchList.h"

class Clause;
class PseudoBool;
class Solver;

// ------------------------------------------------------------------------------------------------
// The interface

/// What the propagation loop, conflict analysis and database reduction see of a constraint.
class Constr {
 protected:
  static constexpr int num_leaving = -1;
  int constraintnum = 0; ///< number of problem constraints when it was built; for diagnostics

 public:
  Constr() = default;
  Constr(const Constr&) = delete;
  Constr& operator=(const Constr&) = delete;

  /// Takes the constraint out of all watch lists, unless `just_dealloc`, and frees it.
  virtual void remove(Solver& S, bool just_dealloc) = 0;
  /// Literal p has become true and the constraint watches ~p. May enqueue implied literals, with
  /// itself as reason, and move its watches; sets `keep_watch` if it is to stay in the list being
  /// visited. False means conflict.
  virtual bool propagate(Solver& S, Lit p, bool& keep_watch) = 0;
  /// At level 0: whether the constraint is satisfied for good.
  virtual bool simplify(Solver&) { return false; }
  /// A variable in whose `undos` list the constraint stands has been unassigned.
  virtual void undo(Solver&) {}
  /// Appends to `out_reason` the true literals that together force p, or with p = `lit_Undef` the
  /// conflict. A true result says that the constraint has merged itself into the pseudo-Boolean
  /// constraint being learnt, as far as that was worth while, and appended the literals new to that
  /// to `out_not_reason`. Within one analysis a constraint may leave out literals that it has given
  /// before.
  virtual bool calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& out_not_reason) = 0;
  virtual bool learnt() const { return false; }
  virtual bool initialize(Solver&) { return true; }
  virtual int constrnum() const { return constraintnum; }
  /// The memory it takes.
  virtual size_t bytes() const = 0;
  /// Whether the constraint holds under the solver's `model`.
  virtual bool checkModel(const Solver&) const { return true; }
  /// Names the watch lists that hold the constraint to the solver (`Solver::leaveList`), which is
  /// going to remove many constraints at once, and marks the constraint as leaving.
  virtual void leaveLists(Solver& S) = 0;
  bool isLeaving() const { return constraintnum == num_leaving; }
  virtual ~Constr() = default;
};

/// An entry of a pseudo-Boolean watch list: the watching constraint and the watched term.
struct pbWatchTerm {
  Constr* pb; ///< always a `PseudoBool`
  int index;  ///< position of the term in that constraint
};

/// Removes the first entry equal to `elem`, which must be there; the others keep their order.
void removeWatch(quillon::WatchList<Constr*>& ws, Constr* elem);
/// Removes the first entry of constraint `elem`, which must be there; the others keep their order.
void removeWatchTerm(quillon::WatchList<pbWatchTerm>& ws, Constr* elem);
/// The same as `removeWatch`, for `undos` lists.
void removeUndo(vec<Constr*>& ws, Constr* elem);

// ------------------------------------------------------------------------------------------------
// The clause

/// At least one of the literals is true. The first two are watched: the clause stands in the watch
/// lists of their complements and in no other. Header, literals and, for a learnt clause, the
/// activity are one block of memory.
class Clause final : public Constr {
  unsigned size_learnt; ///< number of literals * 2 + learnt flag
  // The literals follow, then the activity.

  Clause(const Lit* lits, int nlits, bool is_learnt, int num);
  Lit* lits() { return reinterpret_cast<Lit*>(this + 1); }
  const Lit* lits() const { return reinterpret_cast<const Lit*>(this + 1); }

  /// Position of the literal of highest decision level among those from `from` on, the first such.
  int highestLevel(const Solver& S, int from) const;
  /// Enters the clause in the watch lists of its first two literals.
  void attach(Solver& S);

  friend class SolverAudit;
  friend bool Clause_new(Solver& S, const vec<Lit>& ps_, bool learnt, Clause*& out_clause);
  friend bool Clause_add(Solver& S, const vec<Lit>& ps_, Clause*& out_clause);
  friend bool convertPBtoCNF(Solver& S, PseudoBool*& pb, Clause*& c_out, bool learnt);

  /// What a clause of `nlits` literals takes.
  static size_t bytes(int nlits, bool is_learnt) {
    return sizeof(Clause) + sizeof(Lit) * (static_cast<size_t>(nlits) + (is_learnt ? 1 : 0));
  }
  /// Builds the record over the literals in the order given; not attached yet.
  static Clause* build(Solver& S, const Lit* lits, int nlits, bool learnt);
  /// `Clause_new` and `Clause_add` from the choice of the second watch on.
  static Clause* finish(Solver& S, Clause* c, int second_watch, const vec<Lit>& bump_order);

 public:
  int size() const { return static_cast<int>(size_learnt >> 1); }
  size_t bytes() const override { return bytes(size(), learnt()); }
  bool learnt() const override { return (size_learnt & 1) != 0; }
  Lit operator[](int i) const { return lits()[i]; }
  /// Activity of a learnt clause; other clauses have none.
  float& activity() { return *reinterpret_cast<float*>(lits() + size()); }
  /// Whether the clause is the reason of its first literal and so must not be removed.
  bool locked(const Solver& S) const;

  void remove(Solver& S, bool just_dealloc) override;
  bool propagate(Solver& S, Lit p, bool& keep_watch) override;
  bool simplify(Solver& S) override;
  bool calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& out_not_reason) override;
  bool checkModel(const Solver& S) const override;
  void leaveLists(Solver& S) override;
};

/// Builds a clause over `ps_`. With `learnt` the literals are taken as they are, the first being
/// the one to assert; otherwise, at level 0 only, they are normalised first (false and repeated
/// literals dropped). `out_clause` receives the clause, null when none was needed: satisfied,
/// tautology, or a single literal, which is enqueued. False means that the literals are all false.
bool Clause_new(Solver& S, const vec<Lit>& ps_, bool learnt, Clause*& out_clause);

/// The same for a learnt clause whose literals may be in any state.
bool Clause_add(Solver& S, const vec<Lit>& ps_, Clause*& out_clause);

// ------------------------------------------------------------------------------------------------
// The pseudo-Boolean constraint

/// One term of a constraint as it is handed to the solver.
struct vnumcoef {
  int vnum;  ///< variable counted from 1; negative for its negation; not 0
  int coeff; ///< of either sign, not 0
};

/// One term of a stored constraint.
class PBTerm {
  int coef = 0;

 public:
  Lit lit;

  PBTerm() = default;
  PBTerm(int coefficient, Lit literal) : coef(coefficient), lit(literal) {}
  int coeff() const { return coef; }
  void set_coeff(int coefficient) { coef = coefficient; }
  /// The larger coefficient goes first.
  bool operator<(const PBTerm& other) const { return coef > other.coef; }
};

/// The coefficients of the true literals add up to at least `rhs_goal`, the degree. Coefficients
/// are positive and the terms ordered by non-increasing coefficient. Header, terms and watch marks
/// are one block of memory.
///
/// A term is watched: it has an entry in the watch list of its literal's complement and its
/// coefficient counts in `watchsum`; or it is fake-watched: it has the entry alone; or neither. The
/// marks are bits, apart from the terms, so that propagation finds what is not watched without
/// going through the terms that are.
///
/// Propagation watches enough terms that their sum reaches the degree plus the largest open
/// coefficient. When that cannot be had, the constraint is in its implying state: all its terms
/// that are not false are watched, and the term that falsified it keeps an uncounted entry, a fake
/// watch, so that the constraint is looked at again after backtracking. Backtracking itself costs
/// nothing.
class PseudoBool final : public Constr {
  int rhs_goal;           ///< the degree
  int rhs_max;            ///< the degree that watching uses
  int lhs_max;            ///< sum of all coefficients, unless `overflow`
  bool overflow;          ///< `lhs_max` could not hold the full sum
  int watchsum;           ///< sum of the coefficients of the watched terms
  int amaxpos;            ///< first term open when the watches were last chosen; -1 for none
  int amax;               ///< coefficient added to `rhs_max` in the watching test
  int singlepos;          ///< learnt: first term with coefficient 1; `nterms` when there is none
  int nterms;             ///< number of terms
  float activity_;        ///< of a learnt constraint
  bool learnt_;           ///< learnt, not given
  bool dir = false;       ///< objective: selects how the value is reported, see `newGoal`
  bool explained = false; ///< has given a reason in this conflict analysis
  // The terms follow, then the marks: a bit a term for watched, then as many for fake-watched.

  PseudoBool(int n, int degree, int num);
  PBTerm* terms() { return reinterpret_cast<PBTerm*>(this + 1); }
  const PBTerm* terms() const { return reinterpret_cast<const PBTerm*>(this + 1); }

  using MarkWord = std::uint64_t;
  static constexpr int word_bits = 64;
  static int markWords(int n) { return (n + word_bits - 1) / word_bits; }
  static MarkWord bit(int i) { return MarkWord(1) << (i % word_bits); }
  /// Bits beyond the last term are set in the watched marks: there is nothing to be watched.
  MarkWord* watched() { return reinterpret_cast<MarkWord*>(terms() + nterms); }
  const MarkWord* watched() const { return reinterpret_cast<const MarkWord*>(terms() + nterms); }
  MarkWord* fakewatched() { return watched() + markWords(nterms); }
  const MarkWord* fakewatched() const { return watched() + markWords(nterms); }
  /// Unmarks all terms.
  void clearMarks();

  /// What a constraint of `n` terms takes.
  static size_t bytes(int n) {
    return sizeof(PseudoBool) + sizeof(PBTerm) * static_cast<size_t>(n) +
           2 * sizeof(MarkWord) * static_cast<size_t>(markWords(n));
  }
  /// A constraint of `n` terms, which are still to be constructed, none of them marked.
  static PseudoBool* build(Solver& S, int n, int degree, int num);
  /// Gives the memory back; the constraint must stand in no list.
  static void destroy(Solver& S, PseudoBool* pb);
  /// Adds a coefficient to `lhs_max`, or notes that it would not fit.
  void addToLhsMax(int coeff);
  /// Whether the terms, sorted, show that any one of them satisfies the constraint.
  bool isClause() const;

  friend class SolverAudit;
  friend class Solver;
  friend bool PseudoBool_new(Solver& S, int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p,
                             int v_n, PseudoBool*& out, Clause*& c_out, bool learnt);
  friend bool PseudoBool_add(Solver& S, const vec<Lit>& first_vec, PseudoBool*& out,
                             Clause*& c_out);
  friend bool convertPBtoCNF(Solver& S, PseudoBool*& pb, Clause*& c_out, bool learnt);

  bool implyLargest(Solver& S);
  void merge(Solver& S, Lit p, vec<Lit>& entered) const;
  void collectFalse(const Solver& S, vec<Lit>& out) const;

  /// The first watches and the literals implied at level 0; the second half of `PseudoBool_new`.
  bool chooseFirstWatches(Solver& S);
  /// After a backjump to `assertion_level`, with no term watched: asserts what the constraint
  /// implies there and chooses the watches. `open_sum` is the sum of the terms not false.
  void assertAndWatch(Solver& S, int64 open_sum, int assertion_level);

 public:
  bool learnt() const override { return learnt_; }
  float& activity() { return activity_; }
  void setDir(bool value) { dir = value; }
  int degree() const { return rhs_goal; }
  size_t bytes() const override { return bytes(nterms); }
  int size() const { return nterms; }
  const PBTerm& operator[](int i) const { return terms()[i]; }
  bool is_watched(int i) const { return (watched()[i / word_bits] & bit(i)) != 0; }
  bool is_fakewatched(int i) const { return (fakewatched()[i / word_bits] & bit(i)) != 0; }

  /// Makes term `iterm` watched, whatever the value of its literal. Ends the run with overflow [2]
  /// should the watched sum leave 32 bits. `trail` is ignored.
  void setWatch(Solver& S, int iterm, bool trail);
  /// The same for a term that is not watched.
  void startWatch(Solver& S, int iterm);
  /// Gives the false term `iterm` an entry that does not count.
  void setfakeWatch(Solver& S, int iterm);
  /// Takes term `index` out of the watched sum; its entry has been taken out already.
  void unwatchTerm(int index);

  /// The propagation step: term `iterm` has become false and its entry been taken out of its list.
  /// False means conflict.
  bool falsified(Solver& S, int iterm);

  void remove(Solver& S, bool just_dealloc) override;
  bool propagate(Solver& S, Lit p, bool& keep_watch) override;
  bool simplify(Solver& S) override;
  void undo(Solver&) override {}
  bool calcReason(Solver& S, Lit p, vec<Lit>& out_reason, vec<Lit>& out_not_reason) override;
  bool checkModel(const Solver& S) const override;
  void leaveLists(Solver& S) override;
  ~PseudoBool() override = default;

  /// Whether the constraint is the reason of one of its true literals and so must not be removed.
  bool locked(const Solver& S) const;

  /// Learning: adds `lit` with weight `mul2` * `coeff`, both at least 1, to the solver's
  /// accumulator, and gives learning up if that coefficient grows past its bound. True if the
  /// variable was not there before.
  static bool UpdateLearned(Solver& S, int64 mul2, Lit lit, int coeff);

  /// Objective: the degree that only better assignments reach, 0 when there can be none because
  /// every objective literal is fixed at the root. Sets the solver's `objResult` to the value of
  /// the assignment on the trail, which must be complete. `selStrategy` 1 is the only strategy.
  int64 newGoal(Solver& S, int selStrategy, bool isSAT);
  /// Objective: demands more than the assignment on the trail reaches and backjumps to the lowest
  /// level at which that implies something, the implied literals enqueued. False when no better
  /// assignment can exist. Ends the run with overflow [3] or [4] if the sums leave 32 bits.
  bool newObjConstraint(Solver& S, bool isSAT);

  /// Diagnostics on standard output, for use in a debugger.
  void printWatch(const Solver& S, const char* msg) const;
  void printAssignment(const Solver& S, const char* msg) const;
};

namespace quillon {

/// Relation codes of `PseudoBool_new` and `Solver::addPBConstraint`.
enum PBRelation : int { pb_at_most = 2, pb_equal = 3, pb_at_least = 4 };

} // namespace quillon

/// Builds a problem constraint at level 0 in normal form, chooses its watches and enqueues what it
/// implies. `pbtype` is `pb_at_least` or `pb_at_most`; the latter negates the coefficients in
/// `pbterms` in place. `v_p` and `v_n` must be -1; `learnt` is ignored. `out` receives the
/// constraint, or null when it was clause-like (`c_out` then receives the clause, if one was
/// needed) or empty. False means that it cannot be met under the level-0 assignment; `out` may be
/// set all the same. Ends the run with overflow [1], [2] or [4] if a sum leaves 32 bits.
bool PseudoBool_new(Solver& S, int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p, int v_n,
                    PseudoBool*& out, Clause*& c_out, bool learnt);

/// Turns a constraint that any one of its literals satisfies into a clause, or asserts its literal
/// if only one is open. `pb` stays the caller's; `c_out` receives the clause if one is built. A
/// learnt constraint has no true literal and is backjumped to where the clause asserts. False when
/// the asserted literal is false.
bool convertPBtoCNF(Solver& S, PseudoBool*& pb, Clause*& c_out, bool learnt);

/// Builds the learnt constraint that the solver's accumulator holds for the variables of
/// `first_vec`, backjumps to the level where it first implies something, asserts what it implies
/// and watches it. `out` receives it, or null and `c_out` a clause when it is clause-like. False
/// when it cannot be met at the root.
bool PseudoBool_add(Solver& S, const vec<Lit>& first_vec, PseudoBool*& out, Clause*& c_out);

#endif
