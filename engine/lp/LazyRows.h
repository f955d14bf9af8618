/// \file
/// A relaxation with many more rows than columns.
#ifndef ESTOC_LP_LAZY_ROWS_H
#define ESTOC_LP_LAZY_ROWS_H

#include "Relaxation.h"

#include <memory>
#include <vector>

namespace estoc {

/// A relaxation that shows another one only those of its rows that an optimum has violated so far,
/// and some to begin with. Most rows are slack wherever the optimum lies when there are many more
/// of them than columns, and a basis has the size of the rows: pivots get cheaper by what is left
/// out. What fewer rows refute is refuted; an optimum of them counts once it violates none.
///
/// The rows that come first are lazy if they are many; those that come later are shown at once.
/// Shown rows that have been slack for long are hidden again.
///
/// Source: the cutting-plane method of Dantzig, Fulkerson and Johnson, Solution of a large-scale
/// traveling-salesman problem (1954), with known rows for cuts.
class LazyRows final : public Relaxation {
 public:
  /// `to` is a relaxation without rows as yet. As many rows as `few_rows` are few, usually as many
  /// as there are columns: so many are shown to begin with.
  LazyRows(std::unique_ptr<Relaxation> to, std::size_t few_rows);

  int rows() const override { return static_cast<int>(places.size()); }
  std::size_t size() const override { return shown->size(); }
  void addRows(const RelaxationRows& more) override;
  void removeRows(const std::vector<int>& which) override;
  void reduce(const std::vector<signed char>& settled, const std::vector<char>& keep) override;
  void setCost(int column, double cost) override { shown->setCost(column, cost); }
  void setBounds(int column, double lower, double upper) override {
    shown->setBounds(column, lower, upper);
  }
  void setCutoff(double most) override { shown->setCutoff(most); }
  End solve(int pivots) override;
  double objective() const override { return shown->objective(); }
  const double* primal() const override { return shown->primal(); }
  const std::vector<double>& multipliers() override { return multiplier; }
  bool isSlackBasic(int row) const override;
  std::vector<ProbedColumn> probe(const std::vector<int>& which, int pivots) override {
    return shown->probe(which, pivots);
  }
  std::vector<std::vector<double>> tableau(const std::vector<int>& which) override;
  std::uint64_t pivots() const override { return shown->pivots(); }
  /// Rows shown at present.
  int shownRows() const { return shown->rows(); }

 private:
  static constexpr int hidden = -1;
  std::unique_ptr<Relaxation> shown;
  std::size_t few;
  RelaxationRows all;
  std::vector<int> places;  ///< per row: which one of `shown` it is
  std::vector<int> members; ///< per row of `shown`: which one of all it is
  std::vector<int> idle;    ///< per row of `shown`: optimums since it was not slack
  std::vector<double> multiplier;

  void show(const std::vector<int>& which);
  void showSome();
  bool showViolated(double margin);
  void hideIdle();
  void noteIdle();
  double violation(std::size_t row, const double* x) const;
  std::vector<double> spread(const std::vector<double>& by_member) const;
  void filter(const std::vector<char>& keep);
};

} // namespace estoc

#endif
