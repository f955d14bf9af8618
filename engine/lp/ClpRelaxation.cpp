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
  std::unique_ptr<ClpSimplex> model = std::make_unique<ClpSimplex>();
  Interrupter interrupter;
  bool whole = true;
  End end = End::trouble;
  std::vector<double> multiplier;
  std::uint64_t all_pivots = 0;
  double cutoff = COIN_DBL_MAX;
  std::vector<int> columns; ///< those that the model has
  std::vector<int> places;  ///< per column: where in `columns`, `out` if it has been taken out
  std::vector<double> values;
  double outside = 0; ///< the cost of what has been taken out
  static constexpr int out = -1;

 public:
  explicit ClpRelaxation(const std::atomic<bool>& interrupt) : interrupter(interrupt) {}
  ~ClpRelaxation() override {
    if (!whole) static_cast<void>(model.release()); // lost, since it cannot be destroyed
  }
  void begin(int count) {
    const Working working(whole);
    model->resize(0, count);
    for (int i = 0; i < count; i++) {
      model->setColumnBounds(i, 0, 1);
      model->setObjectiveCoefficient(i, 0);
      columns.push_back(i);
    }
    places = columns;
    values.resize(columns.size());
    setUp(*model);
  }

  int rows() const override { return model->numberRows(); }
  std::size_t size() const override {
    const bool has_rows = model->numberRows() > 0; // there is no matrix else
    return columns.size() + (has_rows ? static_cast<std::size_t>(model->getNumElements()) : 0);
  }
  void addRows(const RelaxationRows& more) override;
  void removeRows(const std::vector<int>& which) override {
    const Working working(whole);
    if (!which.empty()) model->deleteRows(static_cast<int>(which.size()), which.data());
  }
  void reduce(const std::vector<signed char>& settled, const std::vector<char>& keep) override;
  void setCost(int column, double cost) override {
    model->setObjectiveCoefficient(placeOf(column), cost);
  }
  void setBounds(int column, double lower, double upper) override {
    if (placeOf(column) != out) model->setColumnBounds(placeOf(column), lower, upper);
  }
  void setCutoff(double most) override {
    cutoff = most;
    model->setDualObjectiveLimit(most == COIN_DBL_MAX ? most : most - outside);
  }

  End solve(int pivots) override {
    // Without rows there is nothing to solve, and the library does not stand it.
    if (model->numberRows() == 0 || model->numberColumns() == 0) return end = End::trouble;
    end = once(pivots, keep_all);
    // Most of the useless rays come right when the library starts afresh.
    if (end == End::trouble) end = once(pivots, start_afresh);
    return end;
  }
  double objective() const override { return model->objectiveValue() + outside; }
  const double* primal() const override { return values.data(); }
  const std::vector<double>& multipliers() override { return multiplier; }
  bool isSlackBasic(int row) const override {
    return model->getRowStatus(row) == ClpSimplex::basic;
  }
  std::vector<ProbedColumn> probe(const std::vector<int>& which, int pivots) override;
  std::vector<std::vector<double>> tableau(const std::vector<int>& which) override;
  std::uint64_t pivots() const override { return all_pivots; }

 private:
  static constexpr unsigned keep_rays = 32;
  // What the library keeps between calls: nothing, the factorisation, or its arrays, too.
  static constexpr int start_afresh = 0;
  static constexpr int keep_factorisation = 1;
  static constexpr int keep_all = 7;

  int placeOf(int column) const { return places[static_cast<std::size_t>(column)]; }
  void setUp(ClpSimplex& m) {
    m.setLogLevel(0);
    m.passInEventHandler(&interrupter);
    m.setPerturbation(50);
    m.setSpecialOptions(m.specialOptions() | keep_rays);
  }

  End once(int pivots, int warm) {
    const Working working(whole);
    model->setMaximumIterations(pivots);
    model->dual(0, warm);
    all_pivots += static_cast<std::uint64_t>(std::max(0, model->numberIterations()));
    const auto count = static_cast<std::size_t>(model->numberRows());
    switch (model->status()) {
    case 0:
      takeDuals();
      for (std::size_t i = 0; i < columns.size(); i++)
        values[static_cast<std::size_t>(columns[i])] = model->primalColumnSolution()[i];
      return End::optimal;
    case 1:
      if (model->secondaryStatus() == 1) {
        takeDuals();
        return End::cutoff;
      }
      if (const std::unique_ptr<double[]> ray{model->infeasibilityRay()}; ray != nullptr) {
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
  void takeBasis(ClpSimplex& smaller, const std::vector<int>& were,
                 const std::vector<int>& rows_were) const;
  void takeDuals() {
    const double* const dual = model->dualRowSolution();
    multiplier.assign(dual, dual + model->numberRows());
  }
};

void ClpRelaxation::addRows(const RelaxationRows& more) {
  if (more.count() == 0) return;
  const Working working(whole);
  RelaxationRows fitting = more;
  fitting.columns.clear();
  fitting.coefficients.clear();
  for (std::size_t row = 0; row < more.lower.size(); row++) {
    const auto end_of_row = static_cast<std::size_t>(more.starts[row + 1]);
    for (auto i = static_cast<std::size_t>(more.starts[row]); i < end_of_row; i++) {
      const int column = more.columns[i];
      if (placeOf(column) != out) {
        fitting.columns.push_back(placeOf(column));
        fitting.coefficients.push_back(more.coefficients[i]);
        continue;
      }
      const double fixed = more.coefficients[i] * values[static_cast<std::size_t>(column)];
      fitting.lower[row] -= fixed;
      fitting.upper[row] -= fixed;
    }
    fitting.starts[row + 1] = static_cast<int>(fitting.columns.size());
  }
  model->addRows(fitting.count(), fitting.lower.data(), fitting.upper.data(), fitting.starts.data(),
                 fitting.columns.data(), fitting.coefficients.data());
}

/// Makes a smaller model with the same basis, as far as that is possible.
void ClpRelaxation::reduce(const std::vector<signed char>& settled, const std::vector<char>& keep) {
  const Working working(whole);
  model->finish();
  const std::size_t old_rows = keep.size();
  std::vector<double> lower(model->rowLower(), model->rowLower() + old_rows);
  std::vector<double> upper(model->rowUpper(), model->rowUpper() + old_rows);
  std::vector<int> row_places(old_rows, out);
  std::vector<int> kept_rows;
  for (std::size_t i = 0; i < old_rows; i++) {
    if (keep[i] == 0) continue;
    row_places[i] = static_cast<int>(kept_rows.size());
    kept_rows.push_back(static_cast<int>(i));
  }
  const CoinPackedMatrix& matrix = *model->matrix();
  std::vector<CoinBigIndex> starts{0};
  std::vector<int> row_numbers;
  std::vector<double> coefficients;
  std::vector<int> kept; // places in the old model
  for (std::size_t place = 0; place < columns.size(); place++) {
    const auto column = static_cast<std::size_t>(columns[place]);
    const auto i = static_cast<int>(place);
    const CoinBigIndex first = matrix.getVectorFirst(i);
    const CoinBigIndex last = first + matrix.getVectorSize(i);
    if (settled[column] == 0) {
      kept.push_back(i);
      for (CoinBigIndex k = first; k < last; k++) {
        const int row = row_places[static_cast<std::size_t>(matrix.getIndices()[k])];
        if (row == out) continue;
        row_numbers.push_back(row);
        coefficients.push_back(matrix.getElements()[k]);
      }
      starts.push_back(static_cast<CoinBigIndex>(row_numbers.size()));
      continue;
    }
    places[column] = out;
    values[column] = settled[column] > 0 ? 1 : 0;
    if (settled[column] < 0) continue;
    outside += model->objective()[i];
    for (CoinBigIndex k = first; k < last; k++) {
      const auto row = static_cast<std::size_t>(matrix.getIndices()[k]);
      lower[row] -= matrix.getElements()[k];
      upper[row] -= matrix.getElements()[k];
    }
  }
  const auto pick = [](const std::vector<int>& which, const auto* from) {
    std::vector<double> picked;
    picked.reserve(which.size());
    for (const int i : which) picked.push_back(from[i]);
    return picked;
  };
  auto smaller = std::make_unique<ClpSimplex>();
  setUp(*smaller);
  smaller->loadProblem(
      static_cast<int>(kept.size()), static_cast<int>(kept_rows.size()), starts.data(),
      row_numbers.data(), coefficients.data(), pick(kept, model->columnLower()).data(),
      pick(kept, model->columnUpper()).data(), pick(kept, model->objective()).data(),
      pick(kept_rows, lower.data()).data(), pick(kept_rows, upper.data()).data());
  for (std::size_t i = 0; i < kept.size(); i++)
    places[static_cast<std::size_t>(columns[static_cast<std::size_t>(kept[i])])] =
        static_cast<int>(i);
  if (model->statusExists()) takeBasis(*smaller, kept, kept_rows);
  for (int& i : kept) i = columns[static_cast<std::size_t>(i)];
  columns = std::move(kept);
  model = std::move(smaller);
  setCutoff(cutoff);
  end = End::trouble;
}

/// Columns and rows of `smaller` have the basis of those that they were.
void ClpRelaxation::takeBasis(ClpSimplex& smaller, const std::vector<int>& were,
                              const std::vector<int>& rows_were) const {
  smaller.createStatus();
  std::size_t basic = 0;
  for (std::size_t i = 0; i < were.size(); i++) {
    const ClpSimplex::Status status = model->getColumnStatus(were[i]);
    smaller.setColumnStatus(static_cast<int>(i), status);
    smaller.primalColumnSolution()[i] = model->primalColumnSolution()[were[i]];
    basic += status == ClpSimplex::basic ? 1 : 0;
  }
  for (std::size_t i = 0; i < rows_were.size(); i++) {
    const ClpSimplex::Status status = model->getRowStatus(rows_were[i]);
    smaller.setRowStatus(static_cast<int>(i), status);
    basic += status == ClpSimplex::basic ? 1 : 0;
  }
  // Columns taken out may have been basic, at a bound: slacks take their place.
  for (std::size_t i = 0; i < rows_were.size() && basic < rows_were.size(); i++) {
    if (smaller.getRowStatus(static_cast<int>(i)) == ClpSimplex::basic) continue;
    smaller.setRowStatus(static_cast<int>(i), ClpSimplex::basic);
    basic++;
  }
}

std::vector<ProbedColumn> ClpRelaxation::probe(const std::vector<int>& which, int pivots) {
  const Working working(whole);
  std::vector<ProbedColumn> result(which.size());
  if (end != End::optimal || which.empty()) return result;
  std::vector<int> tried;
  tried.reserve(which.size());
  for (const int column : which) tried.push_back(placeOf(column));
  const auto n = static_cast<int>(tried.size());
  const auto width = static_cast<std::size_t>(model->numberColumns()) +
                     static_cast<std::size_t>(model->numberRows());
  std::vector<double> for_up(tried.size(), 1.0); // new lower bounds, then changes upwards
  std::vector<double> for_down(tried.size(), 0.0);
  std::vector<double> space(2 * tried.size() * width);
  std::vector<double*> solutions(2 * tried.size());
  for (std::size_t i = 0; i < solutions.size(); i++) solutions[i] = space.data() + i * width;
  std::vector<int> status(2 * tried.size());
  std::vector<int> taken(2 * tried.size());
  // Without it the bounds of one try are still there in the next one.
  constexpr bool always_finish = true;
  model->setMaximumIterations(pivots);
  model->strongBranching(n, tried.data(), for_up.data(), for_down.data(), solutions.data(),
                         status.data(), taken.data(), false, always_finish);
  for (std::size_t i = 0; i < tried.size(); i++) {
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

std::vector<std::vector<double>> ClpRelaxation::tableau(const std::vector<int>& which) {
  const Working working(whole);
  std::vector<std::vector<double>> result(which.size());
  if (end != End::optimal || which.empty()) return result;
  model->dual(0, keep_factorisation);
  all_pivots += static_cast<std::uint64_t>(std::max(0, model->numberIterations()));
  if (model->status() == 0) {
    const auto count = static_cast<std::size_t>(model->numberRows());
    std::vector<int> row_of(static_cast<std::size_t>(model->numberColumns()), -1);
    for (std::size_t i = 0; i < count; i++)
      if (const int variable = model->pivotVariable()[i]; variable < model->numberColumns())
        row_of[static_cast<std::size_t>(variable)] = static_cast<int>(i);
    for (std::size_t i = 0; i < which.size(); i++) {
      const int row = row_of[static_cast<std::size_t>(placeOf(which[i]))];
      if (row < 0) continue;
      result[i].resize(count);
      model->getBInvRow(row, result[i].data());
    }
  }
  model->finish();
  return result;
}

} // namespace

std::unique_ptr<Relaxation> makeRelaxation(int columns, const std::atomic<bool>& interrupt) {
  auto relaxation = std::make_unique<ClpRelaxation>(interrupt);
  relaxation->begin(columns);
  return relaxation;
}

const char* relaxationLibrary() {
  return "CLP " CLP_VERSION;
}

} // namespace estoc
