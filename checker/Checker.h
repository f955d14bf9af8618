/// \file
/// The state of a proof, and its steps.
///
/// Why an accepted conclusion is true. Let F be the problem with its objective f0 (0 if there is
/// none), D the database, f the current objective, and v the least value f0 of a solution of F that
/// was logged with `soli` (infinite before). After every step this holds:
///
///     for each number b < v: if F has a solution with f0 <= b, then D has one with f <= b.    (*)
///
/// At the begin D is F and f is f0. Each rule says at its place why it keeps (*). So
/// - a contradiction in D while v is infinite means that F has no solution;
/// - if D implies f >= L and L <= v, then no solution of F has f0 <= L - 1 (take b = L - 1 < v), so
///   L is a lower bound;
/// - solutions are evaluated on F and f0 themselves, so satisfiability and upper bounds need no
/// (*). Deleting rows keeps (*), whatever is deleted. Were one to say something of the problem that
/// is left, one would need (*) in the other direction, and rules for what may be deleted from the
/// core; no such thing is said here. (B. Bogaerts, S. Gocht, C. McCreesh, J. Nordstrom, Certified
/// dominance and symmetry breaking for combinatorial optimisation, 2023.)
#ifndef QUILLON_CHECKER_CHECKER_H
#define QUILLON_CHECKER_CHECKER_H

#include "Database.h"
#include "Implication.h"
#include "Polish.h"
#include "Problem.h"
#include "Propagator.h"
#include "Syntax.h"
#include "Verify.h"
#include "Witness.h"

#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace checker {

class Checker {
  Problem problem;
  Syntax syntax;
  Database database;
  Propagator propagator;
  Implication implication;
  SmallPropagation small_propagation;
  Polish polish;
  Witness witness;
  Sum scratch;

  std::optional<Row> objective; ///< the current one
  std::optional<Integer> best;  ///< the least value of a logged solution; the v of (*) is not less
  bool has_solution = false;    ///< whether one was logged
  std::unordered_map<std::string, Id> labels;
  std::string label; ///< of the current step
  bool in_subproof = false;
  bool core_only = false; ///< whether only core rows may be used, and what came since:
  Id subproof_begin = 0;  ///< the last identifier before the subproof
  Verdict verdict;

  /// What is to be shown for a step.
  struct Duties {
    Id begin = 0;           ///< the last identifier before
    std::vector<Row> goals; ///< "#1", "#2"
    bool of_rows = false;   ///< whether the rows that the witness touches are goals, too
    bool all_proven = false;
    std::set<std::size_t> proven_goals;
    std::set<Id> proven_rows;
  };

  // Rows.
  Entry& entryOf(const Integer& id);
  Entry& entryOf(const std::string& name);
  Entry& readEntry();
  bool atEntry() const;
  Entry& add(Row row, bool is_core);
  void remove(Entry& entry);
  std::vector<const Row*> readHints(const Row& negated);
  bool isUsable(const Entry& entry) const {
    return !core_only || entry.is_core || entry.id > subproof_begin;
  }
  std::vector<const Row*> usableRows();

  // Steps: Steps.cpp.
  void formula();
  void derive();
  void reverseUnitPropagation();
  void deletion(int which);
  void moveToCore();
  void solution(bool improves);
  void equal();
  void implied(bool is_added);
  bool implicational(const std::string& rule);
  bool step(const std::string& rule);
  Row readRowAndHint(Entry*& hint);

  // Redundance and objective updates: Redundance.cpp.
  void redundance();
  void objectiveUpdate();
  bool beginsSubproof();
  bool readWitness();
  void subproof(Duties& duties);
  bool readSubproof(Duties* duties);
  std::optional<bool> readEnd();
  void proofgoal(Duties& duties);
  void endSubproof(Id begin);
  bool isContradictedSince(Id begin);
  void proveRest(const Duties& duties, const Row* premise);
  bool follows(const Row& goal, const Row* source, const Row* premise);

  // The end: Conclusion.cpp.
  Integer evaluate(const std::vector<Lit>& literals);
  void output();
  void conclusion();
  void concludeSatisfiable();
  void concludeUnsatisfiable();
  void concludeBounds();
  bool isProven(const Row& claim);
  Row atLeast(const Integer& value) const;

 public:
  Checker(Problem of, std::istream& proof);
  Verdict run();
};

} // namespace checker

#endif
