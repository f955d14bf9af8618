/// \file
/// Activities of variables and of learnt constraints. Increments grow instead of all activities
/// shrinking.
#include "Parameters.h"
#include "Solver.h"

using namespace quillon;

using namespace activity_rules;

namespace {

float increased(float activity, double inc) {
  return static_cast<float>(inc + static_cast<double>(activity));
}

void rescale(float& activity) {
  activity = static_cast<float>(static_cast<double>(activity) * constr_rescale);
}

} // namespace

void Solver::varBumpActivity(Lit p, double mul) {
  // A bump can be long, and nothing depends on it once the run is to end.
  if (var_decay < 0 || value(p) == l_Undef || stop_signal != 0) return;
  const Var x = var(p);
  activity[x] += mul * var_inc;
  if (activity[x] > var_limit) varRescaleActivity();
  order.update(x);
}

void Solver::varDecayActivity() {
  if (var_decay >= 0) var_inc *= var_decay;
}

void Solver::varRescaleActivity() {
  for (Var x = 0; x < nVars(); x++) activity[x] *= var_rescale;
  var_inc *= var_rescale;
}

void Solver::claBumpActivity(Clause* c) {
  c->activity() = increased(c->activity(), cla_inc);
  if (c->activity() > constr_limit) claRescaleActivity();
}

void Solver::claRescaleActivity() {
  for (int i = 0; i < learnts.size(); i++) rescale(learnts[i]->activity());
  cla_inc *= constr_rescale;
}

void Solver::pbBumpActivity(PseudoBool* pb) {
  pb->activity() = increased(pb->activity(), pb_inc);
  if (pb->activity() > constr_limit) pbRescaleActivity();
}

void Solver::pbRescaleActivity() {
  for (int i = 0; i < pb_learnts.size(); i++) rescale(pb_learnts[i]->activity());
  pb_inc *= constr_rescale;
}
