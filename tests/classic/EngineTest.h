/// \file
/// What the engine's unit tests share: short ways to write literals, terms and assignments, and to
/// show what the engine made of them as text, so that expectations can be read.
#ifndef QUILLON_ENGINE_TEST_H
#define QUILLON_ENGINE_TEST_H

#include <initializer_list>
#include <sstream>
#include <string>

#include "SolverAudit.h"

struct Lits : vec<Lit> {
  Lits(std::initializer_list<Lit> literals) {
    for (const Lit p : literals) push(p);
  }
};

struct Terms : vec<vnumcoef> {
  Terms(std::initializer_list<vnumcoef> terms) {
    for (const vnumcoef& t : terms) push(t);
  }
};

/// A solver with `nvars` variables and an empty accumulator.
struct TestSolver : Solver {
  explicit TestSolver(int nvars) {
    for (int i = 0; i < nvars; i++) newVar(true, -1, 0, 0);
    SolverAudit::emptyAccumulator(*this);
  }
  /// Adds a constraint; the terms are pairs of variable number from 1 and coefficient.
  bool add(std::initializer_list<vnumcoef> form, PBRelation relation, int rhs, bool isObj = false) {
    Terms terms(form);
    return addPBConstraint(rhs, relation, terms, -1, -1, isObj);
  }
  /// Makes p true at decision level `target`, not below the current one, without propagating it.
  /// Levels without a decision of their own are opened on the way, as assumptions may open them.
  void assign(Lit p, int target) {
    if (decisionLevel() < target) {
      while (decisionLevel() < target - 1) openLevel();
      assume(p);
    } else {
      enqueue(p, nullptr, 1);
    }
    SolverAudit::propQ(*this).clear();
  }
  /// Decides p and propagates; the constraint in conflict, or null.
  Constr* decide(Lit p) {
    assume(p);
    return propagate();
  }

 private:
  void openLevel() { assume(Lit(newVar(false, -1, 0, 0))), SolverAudit::propQ(*this).clear(); }
};

inline std::string show(Lit p) {
  return (sign(p) ? "~x" : "x") + std::to_string(var(p));
}

inline std::string show(const vec<Lit>& literals) {
  std::ostringstream out;
  for (int i = 0; i < literals.size(); i++) out << (i == 0 ? "" : " ") << show(literals[i]);
  return out.str();
}

/// A clause with its watches first; a pseudo-Boolean constraint with "*" behind the coefficient of
/// a watched and "'" behind that of a fake-watched term.
inline std::string show(const Constr* c) {
  std::ostringstream out;
  if (const auto* clause = dynamic_cast<const Clause*>(c)) {
    for (int i = 0; i < clause->size(); i++) out << (i == 0 ? "" : " ") << show((*clause)[i]);
  } else if (const auto* pb = dynamic_cast<const PseudoBool*>(c)) {
    for (int i = 0; i < pb->size(); i++) {
      const PBTerm& t = (*pb)[i];
      out << t.coeff()
          << (pb->is_watched(i)       ? "*"
              : pb->is_fakewatched(i) ? "'"
                                      : " ")
          << show(t.lit) << " ";
    }
    out << ">= " << pb->degree();
  } else {
    out << "nothing";
  }
  return out.str();
}

/// All problem constraints.
inline std::string constraints(Solver& S) {
  std::string all;
  for (int i = 0; i < SolverAudit::constrs(S).size(); i++)
    all += std::string(i == 0 ? "" : "; ") + show(SolverAudit::constrs(S)[i]);
  return all;
}

#endif
