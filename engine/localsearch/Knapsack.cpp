/// \file
/// The list of partial solutions around the break.
#include "Knapsack.h"

#include <algorithm>

namespace estoc {

namespace {

/// A literal that may be left false.
struct Item {
  std::int64_t weight;
  std::int64_t profit;
  Lit literal;
};

/// Some items other than in the solution at the break, of those looked at so far.
struct State {
  std::int64_t weight;
  std::int64_t profit;
  std::uint32_t change; ///< the last item that is other, an index of `changes`
};

/// An item that is other than at the break, and those before it.
struct Change {
  std::uint32_t item;
  std::uint32_t before;
};

constexpr std::uint32_t none = ~std::uint32_t{0};
constexpr std::size_t most_states = 20000;

class Knapsack {
 public:
  Knapsack(std::vector<Item> all, std::int64_t room) : items(std::move(all)), capacity(room) {
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
      const Int128 left = static_cast<Int128>(a.profit) * b.weight;
      const Int128 right = static_cast<Int128>(b.profit) * a.weight;
      return left != right ? left > right : a.literal < b.literal;
    });
  }

  /// The items that are left false, about the best ones.
  std::vector<Lit> solve(std::uint64_t budget, std::uint64_t& work) {
    std::vector<char> taken(items.size(), 0);
    State at_break{0, 0, none};
    std::size_t next = 0;
    for (; next < items.size() && at_break.weight + items[next].weight <= capacity; next++) {
      taken[next] = 1;
      at_break.weight += items[next].weight;
      at_break.profit += items[next].profit;
    }
    best = at_break;
    states = {at_break};
    std::size_t low = next; // items of [low, high) have been decided
    std::size_t high = next;
    std::uint64_t spent = items.size();
    while (!states.empty() && spent < budget && (low > 0 || high < items.size())) {
      if (high < items.size()) {
        extend(high, false);
        high++;
        prune(low, high);
        spent += states.size() + 1;
      }
      if (low > 0) {
        low--;
        extend(low, true);
        prune(low, high);
        spent += states.size() + 1;
      }
    }
    work += spent;
    for (std::uint32_t c = best.change; c != none; c = changes[c].before)
      taken[changes[c].item] ^= 1;
    std::vector<Lit> out;
    for (std::size_t i = 0; i < items.size(); i++)
      if (taken[i] != 0) out.push_back(items[i].literal);
    return out;
  }

 private:
  std::vector<Item> items; ///< by falling profit per weight
  const std::int64_t capacity;
  std::vector<State> states; ///< by rising weight and profit
  std::vector<State> spare;
  std::vector<Change> changes;
  State best{0, 0, none};

  /// Each state with the item as at the break, and each with the item taken out or in.
  void extend(std::size_t item, bool out) {
    const std::int64_t weight = out ? -items[item].weight : items[item].weight;
    const std::int64_t profit = out ? -items[item].profit : items[item].profit;
    spare.clear();
    std::size_t same = 0;
    std::size_t other = 0;
    const std::size_t n = states.size();
    const auto append = [&](const State& s) {
      if (!spare.empty() && spare.back().profit >= s.profit) return false; // lighter, and no worse
      if (!spare.empty() && spare.back().weight == s.weight)
        spare.back() = s;
      else
        spare.push_back(s);
      return true;
    };
    while (same < n || other < n) {
      if (other == n || (same < n && states[same].weight <= states[other].weight + weight)) {
        append(states[same++]);
        continue;
      }
      const State& from = states[other++];
      const State changed{from.weight + weight, from.profit + profit,
                          static_cast<std::uint32_t>(changes.size())};
      if (append(changed)) changes.push_back({static_cast<std::uint32_t>(item), from.change});
    }
    states.swap(spare);
  }

  /// Whether the state, with the best that can be had of items outside of [low, high), beats the
  /// best solution.
  bool canBeat(const State& s, std::size_t low, std::size_t high) const {
    const Int128 gain = static_cast<Int128>(s.profit) - best.profit;
    const Int128 room = static_cast<Int128>(capacity) - s.weight;
    if (room >= 0) {
      if (high == items.size()) return gain > 0;
      return gain * items[high].weight + room * items[high].profit > 0;
    }
    if (low == 0) return false;
    return gain * items[low - 1].weight + room * items[low - 1].profit > 0;
  }

  void prune(std::size_t low, std::size_t high) {
    for (const State& s : states)
      if (s.weight <= capacity && s.profit > best.profit) best = s;
    states.erase(std::remove_if(states.begin(), states.end(),
                                [&](const State& s) { return !canBeat(s, low, high); }),
                 states.end());
    if (states.size() <= most_states) return;
    // Those nearest to the capacity have least to mend.
    const auto fits = [&](const State& s) { return s.weight <= capacity; };
    const auto middle = std::partition_point(states.begin(), states.end(), fits);
    const auto half = static_cast<std::ptrdiff_t>(most_states / 2);
    const auto first = middle - std::min(half, middle - states.begin());
    const auto last = middle + std::min(half, states.end() - middle);
    states.erase(last, states.end());
    states.erase(states.begin(), first);
  }
};

} // namespace

std::vector<bool> solveKnapsack(const FlatProblem& problem, const std::vector<bool>& start,
                                const std::vector<bool>& fixed, std::uint64_t budget,
                                std::uint64_t& work) {
  std::vector<bool> values = start;
  for (Var v = 0; v < problem.variables(); v++)
    if (!fixed[static_cast<std::size_t>(v)])
      values[static_cast<std::size_t>(v)] = problem.costGain(v) < 0;
  std::int64_t room = -problem.degree(0);
  std::vector<Item> items;
  for (std::size_t i = problem.firstTerm(0); i < problem.endTerm(0); i++) {
    const Lit l = problem.literal(i);
    const auto v = static_cast<std::size_t>(l.var());
    if (fixed[v]) {
      if (values[v] != l.negated()) room += problem.coefficient(i);
      continue;
    }
    room += problem.coefficient(i);
    const std::int64_t gain = problem.costGain(l.var());
    const std::int64_t spared = l.negated() ? -gain : gain;
    values[v] = !l.negated();
    if (spared > 0) items.push_back({problem.coefficient(i), spared, l});
  }
  if (room < 0) return {};
  Knapsack knapsack(std::move(items), room);
  for (const Lit l : knapsack.solve(budget, work))
    values[static_cast<std::size_t>(l.var())] = l.negated();
  return values;
}

} // namespace estoc
