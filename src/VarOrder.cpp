/// \file
/// The decision order.
#include "VarOrder.h"

#include "Sort.h"

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
  int pos = varpos[x];
  while (pos > 0 && activity[x] > activity[order[pos - 1]]) {
    const Var y = order[pos - 1];
    varpos[y]++;
    order[pos] = y;
    pos--;
  }
  order[pos] = x;
  varpos[x] = pos;
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
