/// \file
/// The relaxation by CLP of COIN-OR. What is said here of signs and states was measured on version
/// 1.17.6; tests/estoc/relaxation_test.cpp holds it.
#include "Relaxation.h"

#include <ClpConfig.h>
#include <ClpDualRowSteepest.hpp>
#include <ClpEventHandler.hpp>
#include <ClpSimplex.hpp>

#include <algorithm>
#include <exception>

namespace estoc {

namespace {

/// Ends a solve at the next pivot once somebody wants that.
class Interrupter final : public ClpEventHandler {
  const std::atomic<bool>* interrupt;

 public:
  explicit Interrupter(const std::atomic<bool>& flag) : interrupt(&flag) {}
  int event(Event which) override {
    if (which == endOfIteration && interrupt->load(std::memory_order_relaxed)) return 2;
    return -1;
  }
  ClpEventHandler* clone() const override { return new Interrupter(*this); }
};

/// Lives while the library works. If an exception ends that, most likely since memory is exhausted,
/// the model is not `whole` any more: it may have freed a part of itself already.
class Working {
  bool& whole;

 public:
  explicit Working(bool& w) : whole(w) { whole = false; }
  Working(const Working&) = delete;
  Working& operator=(const Working&) = delete;
  ~Working() { whole = std::uncaught_exceptions() == 0; }
};

class ClpRelaxation final : public Relaxation {
  std::unique_ptr<ClpSimplex> owned = std::make_unique<ClpSimplex>();
  ClpSimplex& model = *owned;
  bool whole = true;
  End end = End::trouble;
  std::vector<double> multiplier;
  std::uint64_t all_pivots = 0;
  double cutoff = COIN_DBL_MAX;

 public:
  ClpRelaxation() = default;
  ~ClpRelaxation() override {
    if (!whole) static_cast<void>(owned.release()); // lost, since it cannot be destroyed
  }
  void begin(int columns, const std::atomic<bool>& interrupt) {
    const Working working(whole);
    model.setLogLevel(0);
    model.resize(0, columns);
    for (int i = 0; i < columns; i++) {
      model.setColumnBounds(i, 0, 1);
      model.setObjectiveCoefficient(i, 0);
    }
    Interrupter handler(interrupt);
    model.passInEventHandler(&handler);
    model.setPerturbation(50);
    model.setSpecialOptions(model.specialOptions() | keep_rays);
  }

  int rows() const override { return model.numberRows(); }
  void addRows(const RelaxationRows& more) override {
    if (more.count() == 0) return;
    const Working working(whole);
    model.addRows(more.count(), more.lower.data(), more.upper.data(), more.starts.data(),
                  more.columns.data(), more.coefficients.data());
  }
  void removeRows(const std::vector<int>& which) override {
    const Working working(whole);
    if (!which.empty()) model.deleteRows(static_cast<int>(which.size()), which.data());
  }
  void setCost(int column, double cost) override { model.setObjectiveCoefficient(column, cost); }
  void setBounds(int column, double lower, double upper) override {
    model.setColumnBounds(column, lower, upper);
  }
  void setCutoff(double most) override {
    cutoff = most;
    model.setDualObjectiveLimit(most);
  }

  End solve(int pivots) override {
    // Without rows there is nothing to solve, and the library does not stand it.
    if (model.numberRows() == 0) return end = End::trouble;
    end = once(pivots, keep_all);
    // Most of the useless rays come right when the library starts afresh.
    if (end == End::trouble) end = once(pivots, start_afresh);
    return end;
  }
  double objective() const override { return model.objectiveValue(); }
  const double* primal() const override { return model.primalColumnSolution(); }
  const std::vector<double>& multipliers() override { return multiplier; }
  bool isSlackBasic(int row) const override { return model.getRowStatus(row) == ClpSimplex::basic; }
  std::vector<ProbedColumn> probe(const std::vector<int>& columns, int pivots) override;
  std::vector<std::vector<double>> tableau(const std::vector<int>& columns) override;
  std::uint64_t pivots() const override { return all_pivots; }

 private:
  static constexpr unsigned keep_rays = 32;
  // What the library keeps between calls: nothing, the factorisation, or its arrays, too.
  static constexpr int start_afresh = 0;
  static constexpr int keep_factorisation = 1;
  static constexpr int keep_all = 7;

  End once(int pivots, int warm) {
    const Working working(whole);
    model.setMaximumIterations(pivots);
    model.dual(0, warm);
    all_pivots += static_cast<std::uint64_t>(std::max(0, model.numberIterations()));
    const auto count = static_cast<std::size_t>(model.numberRows());
    switch (model.status()) {
    case 0:
      takeDuals();
      return End::optimal;
    case 1:
      if (model.secondaryStatus() == 1) {
        takeDuals();
        return End::cutoff;
      }
      if (const std::unique_ptr<double[]> ray{model.infeasibilityRay()}; ray != nullptr) {
        multiplier.resize(count);
        for (std::size_t i = 0; i < count; i++) multiplier[i] = -ray[i];
        return End::infeasible;
      }
      return End::trouble;
    case 3:
      takeDuals();
      return End::limit;
    case 5:
      return End::interrupted;
    default:
      return End::trouble;
    }
  }
  void takeDuals() {
    const double* const dual = model.dualRowSolution();
    multiplier.assign(dual, dual + model.numberRows());
  }
};

std::vector<ProbedColumn> ClpRelaxation::probe(const std::vector<int>& columns, int pivots) {
  const Working working(whole);
  std::vector<ProbedColumn> result(columns.size());
  if (end != End::optimal || columns.empty()) return result;
  const auto n = static_cast<int>(columns.size());
  const auto width = static_cast<std::size_t>(model.numberColumns()) +
                     static_cast<std::size_t>(model.numberRows());
  std::vector<double> for_up(columns.size(), 1.0); // new lower bounds, then changes upwards
  std::vector<double> for_down(columns.size(), 0.0);
  std::vector<double> space(2 * columns.size() * width);
  std::vector<double*> solutions(2 * columns.size());
  for (std::size_t i = 0; i < solutions.size(); i++) solutions[i] = space.data() + i * width;
  std::vector<int> status(2 * columns.size());
  std::vector<int> taken(2 * columns.size());
  // Without it the bounds of one try are still there in the next one.
  constexpr bool always_finish = true;
  model.setMaximumIterations(pivots);
  model.strongBranching(n, columns.data(), for_up.data(), for_down.data(), solutions.data(),
                        status.data(), taken.data(), false, always_finish);
  for (std::size_t i = 0; i < columns.size(); i++) {
    const auto infeasible = [](int state, double change) { return state == 1 || change > 1e50; };
    result[i].down = for_down[i];
    result[i].up = for_up[i];
    result[i].down_infeasible = infeasible(status[2 * i], for_down[i]);
    result[i].up_infeasible = infeasible(status[2 * i + 1], for_up[i]);
    all_pivots +=
        static_cast<std::uint64_t>(std::max(0, taken[2 * i]) + std::max(0, taken[2 * i + 1]));
  }
  return result;
}

std::vector<std::vector<double>> ClpRelaxation::tableau(const std::vector<int>& columns) {
  const Working working(whole);
  std::vector<std::vector<double>> result(columns.size());
  if (end != End::optimal || columns.empty()) return result;
  model.dual(0, keep_factorisation);
  all_pivots += static_cast<std::uint64_t>(std::max(0, model.numberIterations()));
  if (model.status() == 0) {
    const auto count = static_cast<std::size_t>(model.numberRows());
    std::vector<int> row_of(static_cast<std::size_t>(model.numberColumns()), -1);
    for (std::size_t i = 0; i < count; i++)
      if (const int variable = model.pivotVariable()[i]; variable < model.numberColumns())
        row_of[static_cast<std::size_t>(variable)] = static_cast<int>(i);
    for (std::size_t i = 0; i < columns.size(); i++) {
      const int row = row_of[static_cast<std::size_t>(columns[i])];
      if (row < 0) continue;
      result[i].resize(count);
      model.getBInvRow(row, result[i].data());
    }
  }
  model.finish();
  return result;
}

} // namespace

std::unique_ptr<Relaxation> makeRelaxation(int columns, const std::atomic<bool>& interrupt) {
  auto relaxation = std::make_unique<ClpRelaxation>();
  relaxation->begin(columns, interrupt);
  return relaxation;
}

const char* relaxationLibrary() {
  return "CLP " CLP_VERSION;
}

} // namespace estoc
