/// \file
/// The proof of what the engine does, written while it does it.
#ifndef ESTOC_PROOF_PROOF_H
#define ESTOC_PROOF_PROOF_H

#include "Text.h"
#include "constraints/Row.h"
#include "estoc/ProofSink.h"
#include "propagation/Trail.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace estoc {

class Derivation;

/// What a witness says of a literal: `by` takes its place, or it is false if that is none.
struct Substitution {
  Lit literal;
  Lit by;
};

/// Writes the steps of a proof in the pseudo-Boolean proof format, and numbers the constraints they
/// make. There is one such object while a proof is written, else none: whoever derives something
/// asks once a derivation whether its pointer is null.
///
/// A constraint stored in the arena has in its header the number that it has here. Each literal
/// that is fixed at level 0 has a unit row; `settle` sees to it. Rows of the problem stay
/// in the proof, but for those that presolve drops.
///
/// Sources: Gocht and Nordström, Certifying parity reasoning efficiently using pseudo-Boolean
/// proofs (2021); Bogaerts, Gocht, McCreesh and Nordström, Certified dominance and symmetry
/// breaking (2023).
class Proof {
 public:
  Proof(ProofSink& to, const ProofPlan& plan);
  Proof(const Proof&) = delete;
  Proof& operator=(const Proof&) = delete;

  /// A new variable: one of the problem's, or one of the solver's own.
  void addVariable(bool own);

  // Steps -----------------------------------------------------------------------------------------

  /// A row that unit propagation shows: assuming its negation leads to a conflict. What does not
  /// follow that way is a fault.
  template <class C, class D> ProofId rup(const RowOf<C, D>& row);
  ProofId rupClause(const Lit* literals, std::size_t size);
  ProofId rupClause(const std::vector<Lit>& literals) {
    return rupClause(literals.data(), literals.size());
  }
  /// The same for a clause that constraint `id` alone shows, as version 3.0 can tell the checker.
  ProofId rupClause(const std::vector<Lit>& literals, ProofId id);
  /// The same for a literal that is true in all solutions; it becomes the literal's unit row.
  ProofId rupUnit(Lit l);
  /// A row that can be demanded without losing solutions (or optimal ones): all rows so far and the
  /// objective, with each literal of `witness` made true, or with its substitutions, follow from
  /// them and the negation of `row`, and each row that this touches follows by itself or by unit
  /// propagation.
  template <class C, class D>
  ProofId redundant(const RowOf<C, D>& row, const std::vector<Lit>& witness);
  template <class C, class D>
  ProofId redundant(const RowOf<C, D>& row, const std::vector<Substitution>& witness);
  /// A row that constraint `id` alone implies: with literals weakened, and saturated.
  template <class C, class D> ProofId implied(const RowOf<C, D>& row, ProofId id);
  /// A row, shown by contradiction: `refutation` derives 0 >= 1, perhaps from constraint
  /// `negationId()`, which is the negation of the row meanwhile.
  ProofId byContradiction(const Row& row, Derivation& refutation);
  ProofId negationId() const { return last + 1; }
  /// A solution: `values` has an entry for each variable, own ones too. With an objective, the row
  /// that demands a better one; it says sum of the objective's terms <= its value - 1.
  ProofId improvingSolution(const std::vector<bool>& values);
  /// The constraint `id` is no longer used. Nothing happens to rows of the problem.
  void remove(ProofId id) {
    forgetLean(id);
    if (id > problem_rows) writeDeletion(id);
  }
  /// The same for several, none of them of the problem, none with a lean form; empties the list.
  void remove(std::vector<ProofId>& ids);
  /// Constraint `id` has been derived of constraint `from`, and takes its place. Remembered if that
  /// comes from a row of the problem.
  void noteOrigin(ProofId id, ProofId from) {
    if (const ProofId origin = originOf(from); origin != 0) origins.emplace_back(id, origin);
  }
  /// Nobody will ask for origins any more.
  void forgetOrigins() { std::vector<std::pair<ProofId, ProofId>>().swap(origins); }
  /// The constraint `id` and the problem's row that it comes from are no longer used, nor ever
  /// needed for a witness: those of `by` imply them.
  void removeWithOrigin(ProofId id, const std::vector<ProofId>& by);
  /// Anything for readers; one line.
  void comment(const std::string& text);

  // Facts -----------------------------------------------------------------------------------------

  /// Gives each literal that is true at level 0 its unit row. To be called before anything is
  /// removed that may have implied it, and before `unit`.
  void settle(const Trail& trail) {
    if (settled < trail.start(1)) settleFrom(trail);
  }
  /// The unit row of l, which is true at level 0 and settled.
  ProofId unit(Lit l) const {
    assert(units[static_cast<std::size_t>(l.var())] != 0);
    return units[static_cast<std::size_t>(l.var())];
  }
  /// The constraint `id` says that l is true.
  void setUnit(Lit l, ProofId id) { units[static_cast<std::size_t>(l.var())] = id; }
  /// Sees to it that l, which propagation shows to be true, has its unit row.
  void needUnit(Lit l) {
    if (units[static_cast<std::size_t>(l.var())] == 0) rupUnit(l);
  }
  /// Long rows of which much is fixed at level 0 have a lean form, another row without these
  /// literals, as far as they stand before position `end` of the trail.
  struct Lean {
    ProofId id;
    int end;
  };
  /// The lean form of row `id`; the row itself if it has none.
  Lean leanForm(ProofId id) const {
    const auto found = lean.find(id);
    return found == lean.end() ? Lean{id, 0} : found->second;
  }
  /// `form` is derived of row `id`, and takes the place of its lean form.
  void setLean(ProofId id, const Lean& form);
  /// The lean form of row `id`, if it has one, is no longer used.
  void forgetLean(ProofId id) {
    if (!lean.empty()) dropLean(id);
  }
  /// There is no solution (left): unit propagation leads to a conflict. Remembered for the end;
  /// does nothing the second time.
  void contradiction();
  ProofId contradictionId() const { return contradiction_id; }

  // The end ---------------------------------------------------------------------------------------

  void concludeNone();
  void concludeUnsatisfiable();
  void concludeSatisfiable(const std::vector<bool>& values);
  /// No solution is below `lower`, as constraint `lower_id` shows (without a value: there is none
  /// at all), and the best one known is worth `upper` (likewise).
  void concludeBounds(const std::optional<Int128>& lower, ProofId lower_id,
                      const std::optional<Int128>& upper, const std::vector<bool>& values);
  bool isConcluded() const { return concluded; }
  /// Hands on what has gathered.
  void flush();

 private:
  friend class Derivation;
  ProofSink& sink;
  const bool semicolons;
  const std::uint64_t problem_rows;
  const Int128 surplus;
  ProofId last;
  Text text; ///< what the sink has not got yet
  /// For each variable, one behind the other: the text of its literal, of that one's negation, and
  /// of weakening it away, each with a blank in front; padded.
  std::string names;
  std::vector<std::size_t> starts; ///< where each of these texts begins, and where all end
  std::uint64_t own_variables = 0;
  std::vector<ProofId> units; ///< per variable: of the row that fixes it, 0 for none
  int settled = 0;            ///< how far into the trail `settle` has come
  std::unordered_map<ProofId, Lean> lean;
  /// Constraints that stand for rows of the problem, and these; in rising order.
  std::vector<std::pair<ProofId, ProofId>> origins;
  ProofId contradiction_id = 0;
  bool concluded = false;

  void appendName(Text& to, std::size_t number) const {
    const std::size_t start = starts[number];
    const std::size_t size = starts[number + 1] - start;
    if (size <= Text::short_piece)
      to.addShort(names.data() + start, size);
    else
      to.add({names.data() + start, size});
  }
  void appendLiteral(Text& to, Lit l) const {
    appendName(to, 3 * static_cast<std::size_t>(l.var()) + (l.negated() ? 1 : 0));
  }
  /// Whether the text of l is a name, without "~".
  bool isPlain(Lit l) const {
    return names[starts[3 * static_cast<std::size_t>(l.var()) + (l.negated() ? 1 : 0)] + 1] != '~';
  }
  void appendWeakening(Text& to, Var v) const {
    appendName(to, 3 * static_cast<std::size_t>(v) + 2);
  }
  void addClause(const Lit* literals, std::size_t size);
  template <class C, class D> void appendRow(const RowOf<C, D>& row);
  void appendValues(const std::vector<bool>& values);
  ProofId finish();
  void end();
  void settleFrom(const Trail& trail);
  void writeDeletion(ProofId id);
  ProofId originOf(ProofId id) const;
  void dropLean(ProofId id);
  void conclude(const char* what);
  void endConclusion();
};

} // namespace estoc

#endif
