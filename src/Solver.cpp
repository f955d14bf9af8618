/// \file
/// The solver's problem and its assignment.
#include <type_traits>

#include "Solver.h"

using namespace quillon;

// ------------------------------------------------------------------------------------------------
// Construction

Solver::~Solver() {
  for (int i = 0; i < learnts.size(); i++) learnts[i]->remove(*this, true);
  for (int i = 0; i < pb_learnts.size(); i++) pb_learnts[i]->remove(*this, true);
  for (int i = 0; i < constrs.size(); i++) constrs[i]->remove(*this, true);
  for (int i = 0; i < watches.size(); i++) {
    watches[i].release(pool);
    pb_watches[i].release(pool);
  }
}

Var Solver::newVar(bool decision_var, int /*vlink*/, int /*vsize*/, int /*vmax*/) {
  const Var x = nVars();
  eachArray(*this, [](auto& array, int entries) {
    for (; entries > 0; entries--) array.push();
  });
  level[x] = -1;
  order.newVar(decision_var);
  return x;
}

void Solver::reserve(int nvars) {
  eachArray(*this, [nvars](auto& array, int entries) {
    if (entries == 0) return;
    array.reserve(nvars > INT_MAX / entries ? INT_MAX : entries * nvars);
  });
  trail.reserve(nvars);
  propQ.reserve(nvars);
  order.reserve(nvars);
}

bool Solver::addPBConstraint(int pbgoal, int pbtype, vec<vnumcoef>& pbterms, int v_p, int v_n,
                             bool isObj) {
  const bool is_equality = pbtype == pb_equal;
  PseudoBool* pb = nullptr;
  Clause* c = nullptr;
  bool ret = PseudoBool_new(*this, pbgoal, is_equality ? pb_at_least : pbtype, pbterms, v_p, v_n,
                            pb, c, false);
  if (isObj && pb != nullptr) { // an objective without terms is none
    objConstr = pb;
    pb->setDir(pbgoal <= 0);
  }
  if (pb != nullptr) constrs.push(pb);
  if (c != nullptr) constrs.push(c);
  if (is_equality && ret) {
    pb = nullptr;
    c = nullptr;
    ret = PseudoBool_new(*this, pbgoal, pb_at_most, pbterms, v_p, v_n, pb, c, false);
    if (pb != nullptr) constrs.push(pb);
    if (c != nullptr) constrs.push(c);
  }
  if (!ret) ok = false;
  return ret;
}

bool Solver::addClause(const vec<Lit>& literals) {
  Clause* c = nullptr;
  const bool ret = Clause_new(*this, literals, false, c);
  if (c != nullptr) constrs.push(c);
  if (!ret) ok = false;
  return ret;
}

// ------------------------------------------------------------------------------------------------
// Assignment

bool Solver::assume(Lit p) {
  assert(propQ.size() == 0);
  trail_lim.push(trail.size());
  trail_pb.push(0);
  return enqueue(p, nullptr, 1);
}

void Solver::cancel() {
  assert(propQ.size() == 0);
  for (int n = trail.size() - trail_lim.last(); n > 0; n--) undoOne();
  trail_lim.pop();
  trail_pb.pop();
}

void Solver::cancelUntil(int target) {
  while (decisionLevel() > target) cancel();
}

bool Solver::checkModel() const {
  for (int i = 0; i < constrs.size(); i++) {
    if (constrs[i] == objConstr || constrs[i]->learnt()) continue;
    if (!constrs[i]->checkModel(*this)) {
      std::fprintf(stderr, "Validation fails on constr %d\n", i);
      return false;
    }
  }
  return true;
}

MemoryUse Solver::memoryUse() const {
  MemoryUse use = {0, 0, 0};
  const auto addOwned = [&use](const auto& owned) {
    use.constraints += owned.bytes();
    for (int i = 0; i < owned.size(); i++) use.constraints += owned[i]->bytes();
  };
  addOwned(constrs);
  addOwned(learnts);
  addOwned(pb_learnts);
  for (int i = 0; i < watches.size(); i++)
    use.watches += watches[i].bytes() + pb_watches[i].bytes();
  use.variables = order.bytes() + propQ.bytes() + accumulator.bytes() + levelSums.bytes();
  eachArray(*this, [&use](const auto& array, int entries) {
    // What comes and goes counts with its room, which it has filled for the most part.
    using Element = std::remove_cvref_t<decltype(array[0])>;
    const auto room = static_cast<size_t>(array.capacity());
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the elements may be pointers
    use.variables += entries > 0 ? array.bytes() : sizeof(Element) * room;
  });
  return use;
}
