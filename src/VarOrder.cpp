/// \file
/// The decision order.
#include "VarOrder.h"

#include "Sort.h"

#include <cstring>

namespace {

/// Descending activity.
class VarOrder_lt {
  const vec<double>& activity;

 public:
  explicit VarOrder_lt(const vec<double>& activities) : activity(activities) {}
  bool operator()(Var x, Var y) const { return activity[x] > activity[y]; }
};

} // namespace

void VarOrder::newVar(bool decision_var) {
  const Var x = varpos.size();
  varpos.push(decision_var ? order.size() : -1);
  if (decision_var) order.push(x);
}

void VarOrder::update(Var x) {
  if (!decisionVar(x)) return;
  const int from = varpos[x];
  const double act = activity[x];
  const auto passes = [&](int pos) { return act > activity[order[pos]]; };
  // Most moves are short. A long one is measured by doubling steps, then by halving them: the
  // activities before `from` do not increase.
  constexpr int short_move = 8;
  int to = from; // all positions from here to `from` are passed
  while (to > 0 && from - to < short_move && passes(to - 1)) to--;
  int stays = to - 1; // not known to be passed
  if (from - to == short_move) {
    for (int step = short_move; stays >= 0 && passes(stays); step *= 2) {
      to = stays;
      stays = to - step;
    }
  }
  stays = max(stays, -1);
  while (to - stays > 1) {
    const int middle = stays + (to - stays) / 2;
    if (passes(middle)) {
      to = middle;
    } else {
      stays = middle;
    }
  }
  if (to == from) return;
  Var* const at = static_cast<Var*>(order);
  int* const position = static_cast<int*>(varpos);
  for (int pos = from; pos > to; pos--) {
    const Var moved = at[pos - 1];
    at[pos] = moved;
    position[moved] = pos;
  }
  at[to] = x;
  position[x] = to;
}

Var VarOrder::select(double random_var_freq) {
  // The draw comes first and always, so that the random numbers depend on the number of calls only.
  if (drand(random_seed) < random_var_freq && order.size() > 0) {
    const Var next = order[irand(random_seed, order.size())];
    assert(next >= 0 && next < assigns.size());
    if (toLbool(assigns[next]) == l_Undef) return next;
  }
  for (int pos = last_var; pos < order.size(); pos++) {
    if (toLbool(assigns[order[pos]]) == l_Undef) {
      last_var = pos;
      return order[pos];
    }
  }
  return var_Undef;
}

void VarOrder::updateAll() {
  sort(order, VarOrder_lt(activity));
  for (int pos = 0; pos < order.size(); pos++) varpos[order[pos]] = pos;
  last_var = 0;
}

void VarOrder::permute(int nvars) {
  assert(nvars <= order.size());
  for (int pos = nvars - 1; pos > 0; pos--) {
    std::swap(order[pos], order[irand(random_seed, pos + 1)]);
    varpos[order[pos]] = pos;
  }
  if (nvars > 0) varpos[order[0]] = 0;
  last_var = 0;
}
