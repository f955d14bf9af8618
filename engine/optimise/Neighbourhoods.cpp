/// \file
/// The choice of neighbourhoods.
#include "Neighbourhoods.h"

#include "numbers/Xorshift.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr std::size_t long_row = 200; ///< rows of more terms do not say what belongs together
constexpr double agreeing = 0.1;      ///< the relaxation's value may be so far from the solution's
constexpr double growth = 1.4;
constexpr double least_share = 0.002;
constexpr double largest_share = 0.9;
} // namespace

Neighbourhoods::Neighbourhoods(Search& s, Var n, std::uint64_t seed)
    : search(s), variables(n), random((seed + 1) * 0x9E3779B97F4A7C15U) {}

void Neighbourhoods::build() {
  is_built = true;
  const auto count = static_cast<std::size_t>(variables);
  row_starts = {0};
  variable_starts.assign(count + 1, 0);
  Propagation& constraints = search.constraints();
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    if (c.removed != 0 || c.size > long_row) continue;
    forEachTerm(c, [&](const auto&, Lit l) {
      if (l.var() < variables) row_variables.push_back(l.var());
    });
    row_starts.push_back(row_variables.size());
  }
  for (const Var v : row_variables) variable_starts[static_cast<std::size_t>(v) + 1]++;
  for (std::size_t v = 0; v < count; v++) variable_starts[v + 1] += variable_starts[v];
  variable_rows.resize(row_variables.size());
  std::vector<std::size_t> place(variable_starts.begin(), variable_starts.end() - 1);
  for (std::size_t row = 0; row + 1 < row_starts.size(); row++)
    for (std::size_t i = row_starts[row]; i < row_starts[row + 1]; i++)
      variable_rows[place[static_cast<std::size_t>(row_variables[i])]++] = row;
  steps += 3 * row_variables.size();
}

/// Sets `count` variables free, one after the other those nearest to one chosen by chance.
void Neighbourhoods::setFree(std::size_t count) {
  const auto all = static_cast<std::uint64_t>(variables);
  row_seen.assign(row_starts.size(), 0);
  std::vector<Var> queue;
  std::size_t freed = 0;
  const auto free = [&](Var v) {
    char& f = is_free[static_cast<std::size_t>(v)];
    if (f != 0) return;
    f = 1;
    freed++;
    queue.push_back(v);
  };
  std::size_t first = 0;
  for (std::size_t starts = 0; freed < count && starts < count + 16;) {
    if (first == queue.size()) {
      starts++;
      free(static_cast<Var>((xorshift(random) >> 16) % all));
      continue;
    }
    const auto v = static_cast<std::size_t>(queue[first++]);
    const std::size_t degree = variable_starts[v + 1] - variable_starts[v];
    const std::size_t shift = degree != 0 ? (xorshift(random) >> 16) % degree : 0;
    for (std::size_t k = 0; k < degree && freed < count; k++) {
      const std::size_t row = variable_rows[variable_starts[v] + (k + shift) % degree];
      if (row_seen[row] != 0) continue;
      row_seen[row] = 1;
      for (std::size_t i = row_starts[row]; i < row_starts[row + 1] && freed < count; i++)
        free(row_variables[i]);
      steps += row_starts[row + 1] - row_starts[row];
    }
  }
}

std::vector<Lit> Neighbourhoods::choose(const std::vector<bool>& best,
                                        const std::vector<double>& relaxed) {
  if (!is_built) build();
  by_relaxation = !by_relaxation && !relaxed.empty();
  const auto count = static_cast<std::size_t>(variables);
  is_free.assign(count, 0);
  if (by_relaxation) {
    for (std::size_t v = 0; v < count; v++) {
      const double x = best[v] ? 1 - relaxed[v] : relaxed[v];
      is_free[v] = x > agreeing ? 1 : 0;
    }
  }
  setFree(static_cast<std::size_t>(static_cast<double>(count) * free_share[by_relaxation ? 1 : 0]) +
          (by_relaxation ? 0 : 1));
  std::vector<Lit> kept;
  for (Var v = 0; v < variables; v++) {
    const Lit l = Lit::of(v, !best[static_cast<std::size_t>(v)]);
    if (is_free[static_cast<std::size_t>(v)] == 0 && !search.isFact(l)) kept.push_back(l);
  }
  steps += count;
  return kept;
}

void Neighbourhoods::note(Result result) {
  double& share = free_share[by_relaxation ? 1 : 0];
  if (result == Result::refuted) share = std::min(largest_share, share * growth);
  if (result == Result::unclear) share = std::max(least_share, share / growth);
}

} // namespace estoc
