/// \file
/// The linear relaxation as the engine sees it: one small interface, behind which an LP library
/// does the work. Nothing that it says is trusted: floats propose, integers decide.
#ifndef ESTOC_LP_RELAXATION_H
#define ESTOC_LP_RELAXATION_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace estoc {

/// Rows to be added to a relaxation, one behind the other.
struct RelaxationRows {
  std::vector<int> starts{0}; ///< where each row begins in `columns`, and the end
  std::vector<int> columns;
  std::vector<double> coefficients;
  std::vector<double> lower; ///< of each row, perhaps -infinity
  std::vector<double> upper; ///< of each row, perhaps infinity

  int count() const { return static_cast<int>(lower.size()); }
  /// Adds row `row` of `from` behind the others.
  void append(const RelaxationRows& from, std::size_t row) {
    const auto first = from.starts[row];
    const auto last = from.starts[row + 1];
    columns.insert(columns.end(), from.columns.begin() + first, from.columns.begin() + last);
    coefficients.insert(coefficients.end(), from.coefficients.begin() + first,
                        from.coefficients.begin() + last);
    starts.push_back(static_cast<int>(columns.size()));
    lower.push_back(from.lower[row]);
    upper.push_back(from.upper[row]);
  }
};

/// How the objective moves when a column is fixed at 0 and at 1, as far as some pivots tell.
struct ProbedColumn {
  double down = 0;
  double up = 0;
  bool down_infeasible = false; ///< no solution below the cutoff there, it seems
  bool up_infeasible = false;
};

/// Minimises a linear function over columns between bounds within [0, 1], by a dual simplex that
/// starts where it ended last. All rows and columns are numbered from 0.
class Relaxation {
 public:
  enum class End {
    optimal,    ///< `primal` and `multipliers` are those of an optimum
    infeasible, ///< `multipliers` combine the rows to one that the bounds contradict
    cutoff,     ///< nothing is below the cutoff; `multipliers` are those of the last basis
    limit,      ///< the pivots are spent; `multipliers` are those of the last basis
    interrupted,
    trouble ///< the library gave up, or says something without telling why
  };

  virtual ~Relaxation() = default;

  virtual int rows() const = 0;
  /// Columns, and numbers in rows, that a pivot may have to look at.
  virtual std::size_t size() const = 0;
  virtual void addRows(const RelaxationRows& more) = 0;
  /// Takes the rows out whose numbers `which` has; the others move up.
  virtual void removeRows(const std::vector<int>& which) = 0;
  /// Takes columns out for ever, at 1 or 0 where `settled` (by column) is positive or negative, and
  /// the rows for which `keep` has 0, which hold without more being done. Columns keep their
  /// numbers; rows move up. There is no optimum then until the next call.
  virtual void reduce(const std::vector<signed char>& settled, const std::vector<char>& keep) = 0;
  /// Before any call.
  virtual void setCost(int column, double cost) = 0;
  virtual void setBounds(int column, double lower, double upper) = 0;
  /// Solutions that cost more need not be found.
  virtual void setCutoff(double most) = 0;

  /// Solves under the bounds set, within `pivots` pivots.
  virtual End solve(int pivots) = 0;
  /// The cost of the last optimum.
  virtual double objective() const = 0;
  /// The value of each column in the last optimum.
  virtual const double* primal() const = 0;
  /// What to multiply each row with, see `End`: positive for its lower side, negative for its
  /// upper side. Valid until the next call that changes anything.
  virtual const std::vector<double>& multipliers() = 0;
  /// For each row whether its slack is in the basis, so that it is not needed at present.
  virtual bool isSlackBasic(int row) const = 0;
  /// After an optimum: tries each of `columns` at 0 and at 1, with at most `pivots` pivots a time.
  virtual std::vector<ProbedColumn> probe(const std::vector<int>& columns, int pivots) = 0;
  /// After an optimum: for each of `columns`, what to multiply the rows with so that their sum is
  /// the row of the tableau in which that column is basic; none for columns that are not.
  virtual std::vector<std::vector<double>> tableau(const std::vector<int>& columns) = 0;
  /// Pivots of all calls so far.
  virtual std::uint64_t pivots() const = 0;
};

/// A relaxation with `columns` columns between 0 and 1 and without rows. Solving ends soon once
/// `interrupt` is set. Null in builds without an LP library.
std::unique_ptr<Relaxation> makeRelaxation(int columns, const std::atomic<bool>& interrupt);

/// The library and its version; null in builds without.
const char* relaxationLibrary();

} // namespace estoc

#endif
