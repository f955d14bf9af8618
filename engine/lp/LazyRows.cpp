/// \file
/// Rows are shown when they are violated, and hidden when they have not mattered for long.
#include "LazyRows.h"

#include <algorithm>

namespace estoc {

namespace {
/// So many times the few rows make the first rows lazy. With less the number of rounds costs more
/// than the size of the basis.
constexpr std::size_t many = 3;
/// Rows shown are hidden again beyond so many times the few.
constexpr std::size_t most_shown = 2;
/// Rows shown at a time, beside a part of the few.
constexpr std::size_t batch = 100;
constexpr std::size_t batch_part = 4;
/// By how much a row has to be violated, in parts of its largest coefficient.
constexpr double tolerance = 1e-6;
/// Rows may be slack for so many optimums.
constexpr int patience = 20;
/// After so many rounds in a call rows are shown, too, that are slack by little, and by more in
/// each further round.
constexpr int calm = 4;
constexpr double growth = 0.05;
} // namespace

LazyRows::LazyRows(std::unique_ptr<Relaxation> to, std::size_t few_rows)
    : shown(std::move(to)), few(std::max<std::size_t>(1, few_rows)) {}

void LazyRows::addRows(const RelaxationRows& more) {
  const std::size_t before = places.size();
  const auto count = static_cast<std::size_t>(more.count());
  for (std::size_t i = 0; i < count; i++) all.append(more, i);
  places.resize(before + count, hidden);
  if (before == 0 && count > many * few) return;
  std::vector<int> which;
  for (std::size_t i = before; i < places.size(); i++) which.push_back(static_cast<int>(i));
  show(which);
}

void LazyRows::show(const std::vector<int>& which) {
  RelaxationRows added;
  for (const int row : which) {
    added.append(all, static_cast<std::size_t>(row));
    places[static_cast<std::size_t>(row)] = static_cast<int>(members.size());
    members.push_back(row);
    idle.push_back(0);
  }
  shown->addRows(added);
}

/// Shows few rows without a reason, evenly from all.
void LazyRows::showSome() {
  const std::size_t step = std::max<std::size_t>(1, places.size() / few);
  std::vector<int> which;
  for (std::size_t i = 0; i < places.size(); i += step) which.push_back(static_cast<int>(i));
  show(which);
}

/// By how much `x` violates the row, in parts of its largest coefficient.
double LazyRows::violation(std::size_t row, const double* x) const {
  double sum = 0;
  double largest = 0;
  for (auto k = static_cast<std::size_t>(all.starts[row]);
       k < static_cast<std::size_t>(all.starts[row + 1]); k++) {
    const double a = all.coefficients[k];
    sum += a * x[all.columns[k]];
    largest = std::max(largest, a < 0 ? -a : a);
  }
  const double missing = std::max(all.lower[row] - sum, sum - all.upper[row]);
  return largest > 0 ? missing / largest : 0;
}

/// If the optimum violates hidden rows, shows those that are violated most, and those that are
/// slack by less than `margin`, in parts of the largest coefficient. False when it violates none.
bool LazyRows::showViolated(double margin) {
  struct Violated {
    double by;
    int row;
  };
  std::vector<Violated> found;
  bool any = false;
  const double* const x = shown->primal();
  for (std::size_t i = 0; i < places.size(); i++) {
    if (places[i] != hidden) continue;
    const double by = violation(i, x);
    any = any || by > tolerance;
    if (by > tolerance - margin) found.push_back({by, static_cast<int>(i)});
  }
  if (!any) return false;
  std::sort(found.begin(), found.end(), [](const Violated& a, const Violated& b) {
    return a.by != b.by ? a.by > b.by : a.row < b.row;
  });
  found.resize(std::min(found.size(), batch + few / batch_part));
  std::vector<int> which;
  which.reserve(found.size());
  for (const Violated& v : found) which.push_back(v.row);
  show(which);
  return true;
}

void LazyRows::noteIdle() {
  for (std::size_t i = 0; i < members.size(); i++)
    idle[i] = shown->isSlackBasic(static_cast<int>(i)) ? idle[i] + 1 : 0;
}

/// Only between calls: within one, what is hidden could come back again and again.
void LazyRows::hideIdle() {
  if (members.size() <= most_shown * few) return;
  std::vector<int> gone;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < members.size(); i++) {
    const auto row = static_cast<std::size_t>(members[i]);
    if (idle[i] >= patience && shown->isSlackBasic(static_cast<int>(i))) {
      gone.push_back(static_cast<int>(i));
      places[row] = hidden;
      continue;
    }
    places[row] = static_cast<int>(kept);
    members[kept] = members[i];
    idle[kept++] = idle[i];
  }
  members.resize(kept);
  idle.resize(kept);
  shown->removeRows(gone);
}

std::vector<double> LazyRows::spread(const std::vector<double>& by_member) const {
  std::vector<double> result(places.size());
  for (std::size_t i = 0; i < by_member.size(); i++)
    result[static_cast<std::size_t>(members[i])] = by_member[i];
  return result;
}

Relaxation::End LazyRows::solve(int pivots) {
  hideIdle();
  if (members.empty() && !places.empty()) showSome();
  const std::uint64_t last = shown->pivots() + static_cast<std::uint64_t>(pivots);
  for (int round = 0;; round++) {
    const std::uint64_t now = shown->pivots();
    const End end = shown->solve(static_cast<int>(now < last ? last - now : 1));
    if (end != End::trouble && end != End::interrupted) multiplier = spread(shown->multipliers());
    if (end != End::optimal) return end;
    noteIdle();
    if (!showViolated(round < calm ? 0 : growth * (round - calm + 1))) return end;
    if (shown->pivots() >= last) return End::limit;
  }
}

bool LazyRows::isSlackBasic(int row) const {
  const int place = places[static_cast<std::size_t>(row)];
  return place == hidden || shown->isSlackBasic(place);
}

std::vector<std::vector<double>> LazyRows::tableau(const std::vector<int>& which) {
  std::vector<std::vector<double>> result = shown->tableau(which);
  for (std::vector<double>& row : result)
    if (!row.empty()) row = spread(row);
  return result;
}

void LazyRows::removeRows(const std::vector<int>& which) {
  std::vector<char> keep(places.size(), 1);
  std::vector<int> gone;
  for (const int row : which) {
    const auto i = static_cast<std::size_t>(row);
    keep[i] = 0;
    if (places[i] != hidden) gone.push_back(places[i]);
  }
  std::sort(gone.begin(), gone.end());
  shown->removeRows(gone);
  filter(keep);
}

void LazyRows::reduce(const std::vector<signed char>& settled, const std::vector<char>& keep) {
  if (members.empty() && !places.empty()) showSome();
  std::vector<char> keep_shown;
  keep_shown.reserve(members.size());
  for (const int row : members) keep_shown.push_back(keep[static_cast<std::size_t>(row)]);
  shown->reduce(settled, keep_shown);
  filter(keep);
  few = std::min(few, static_cast<std::size_t>(std::count(settled.begin(), settled.end(), 0)) + 1);
}

/// Takes the rows out for which `keep` has 0; `shown` has done so already.
void LazyRows::filter(const std::vector<char>& keep) {
  RelaxationRows kept;
  std::vector<int> now(places.size(), hidden); // per row its new number
  for (std::size_t i = 0; i < places.size(); i++) {
    if (keep[i] == 0) continue;
    now[i] = kept.count();
    kept.append(all, i);
  }
  all = std::move(kept);
  places.assign(static_cast<std::size_t>(all.count()), hidden);
  std::size_t left = 0;
  for (std::size_t i = 0; i < members.size(); i++) {
    const int row = now[static_cast<std::size_t>(members[i])];
    if (row == hidden) continue;
    places[static_cast<std::size_t>(row)] = static_cast<int>(left);
    members[left] = row;
    idle[left++] = idle[i];
  }
  members.resize(left);
  idle.resize(left);
}

} // namespace estoc
