/// \file
/// Arrays, sorts, pools and the decision order.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#include "EngineTest.h"
#include "Results.h"
#include "Sort.h"

namespace {

TEST(Vec, ContentsMoveAsAWhole) {
  vec<vec<int>> from;
  for (int i = 0; i < 40; i++) { // relocates lists that hold storage
    from.push();
    from.last().push(i);
  }
  vec<vec<int>> to;
  to.push();
  to.last().growTo(100);
  from.moveTo(to);
  EXPECT_EQ(from.size(), 0);
  EXPECT_EQ(from.capacity(), 0);
  ASSERT_EQ(to.size(), 40);
  for (int i = 0; i < 40; i++) EXPECT_EQ(to[i][0], i);

  vec<int> copy(9, 1);
  to[3].copyTo(copy);
  ASSERT_EQ(copy.size(), 1);
  EXPECT_EQ(copy[0], 3);

  vec<int> adopted(copy.release(), 1);
  EXPECT_EQ(copy.capacity(), 0);
  EXPECT_EQ(adopted[0], 3);
  adopted.clear();
  EXPECT_EQ(adopted.capacity(), 1);
  adopted.clear(true);
  EXPECT_EQ(adopted.capacity(), 0);
}

// ------------------------------------------------------------------------------------------------
// Sorting. Elements with equal keys can be told apart, so that the exact outcome is compared.

struct Item {
  int key;
  int id;
  bool operator==(const Item& other) const { return key == other.key && id == other.id; }
};

bool before(const Item& a, const Item& b) {
  return a.key < b.key;
}

/// The quicksort as a recursion, with integer random numbers. Sorts `items` from place `from` up to
/// `to`.
template <class Before>
void modelSort(std::vector<Item>& items, size_t from, size_t to, unsigned long& seed, Before lt) {
  const size_t size = to - from;
  if (size <= 15) {
    for (size_t i = from; i + 1 < to; i++)
      std::swap(items[i], *std::min_element(items.begin() + static_cast<long>(i),
                                            items.begin() + static_cast<long>(to), lt));
    return;
  }
  seed = seed * 1389796 % 2147483647;
  const Item pivot = items[from + static_cast<size_t>(static_cast<double>(seed) / 2147483647 *
                                                      static_cast<double>(size))];
  size_t i = from;
  size_t j = to - 1;
  for (;; i++, j--) {
    while (lt(items[i], pivot)) i++;
    while (lt(pivot, items[j])) j--;
    if (i >= j) break;
    std::swap(items[i], items[j]);
  }
  modelSort(items, from, i, seed, lt);
  modelSort(items, i, to, seed, lt);
}

std::vector<Item> itemsOf(int n, const std::function<int(int)>& key) {
  std::vector<Item> items;
  for (int i = 0; i < n; i++) items.push_back({key(i), i});
  return items;
}

struct Comparisons {
  long sort = 0;
  long model = 0;
};

/// Sorts and compares the outcome, the last random number included, with the model's.
Comparisons sortLikeTheModel(std::vector<Item> items) {
  Comparisons made;
  std::vector<Item> expected = items;
  unsigned long model_seed = 91648253;
  modelSort(expected, 0, expected.size(), model_seed, [&made](const Item& a, const Item& b) {
    made.model++;
    return before(a, b);
  });
  double seed = 91648253;
  const int n = static_cast<int>(items.size());
  sort(
      items.data(), n,
      [&made](const Item& a, const Item& b) {
        made.sort++;
        return before(a, b);
      },
      seed);
  EXPECT_TRUE(items == expected);
  EXPECT_EQ(seed, static_cast<double>(model_seed));
  EXPECT_TRUE(std::is_sorted(items.begin(), items.end(), before));
  EXPECT_EQ(seed == 91648253, n <= 15); // selection draws no pivots
  return made;
}

TEST(Sort, FollowsTheModelExactly) {
  const struct {
    const char* name;
    std::function<int(int, int)> key; // of element i of n
  } inputs[] = {
      {"ascending", [](int i, int) { return i; }},
      {"descending", [](int i, int n) { return n - i; }},
      {"equal", [](int, int) { return 0; }},
      {"two values", [](int i, int) { return i % 2; }},
      {"organ pipe", [](int i, int n) { return std::min(i, n - i); }},
      {"scrambled", [](int i, int) { return static_cast<int>(i * 7919L % 1009); }},
  };
  for (const auto& input : inputs) {
    for (const int n : {0, 1, 2, 14, 15, 16, 17, 31, 100, 1000, 5000}) {
      SCOPED_TRACE(testing::Message() << input.name << ", " << n);
      sortLikeTheModel(itemsOf(n, [&](int i) { return input.key(i, n); }));
    }
  }
}

/// Keys that make every pivot the least of its part, or the largest where it stands first.
std::vector<int> keysAgainstThePivots(int n) {
  std::vector<Item> items = itemsOf(n, [](int) { return 0; }); // where the partitions move them
  std::vector<int> keys(items.size());
  double seed = 91648253;
  int from = 0;
  int to = n;
  const auto settle = [&](int at, int key) {
    keys[static_cast<size_t>(items[static_cast<size_t>(at)].id)] = key;
    std::swap(items[static_cast<size_t>(at)], items[static_cast<size_t>(key)]);
  };
  while (to - from > 15) {
    const int at = from + irand(seed, to - from);
    settle(at, at == from ? --to : from++);
  }
  for (; from < to; from++) settle(from, from);
  return keys;
}

TEST(Sort, NoOrderIsSlow) {
  const int n = 5000;
  const std::vector<int> keys = keysAgainstThePivots(n);
  for (const int largest : {n, n / 2}) { // all different, or half of them equal
    SCOPED_TRACE(largest);
    const Comparisons made = sortLikeTheModel(
        itemsOf(n, [&](int i) { return std::min(keys[static_cast<size_t>(i)], largest); }));
    EXPECT_GT(made.model, n * n / 4) << "the keys are not bad enough";
    EXPECT_LT(made.sort, 8 * 13 * n); // 13: the logarithm
  }
}

TEST(Sort, PartitionsAreTheSameWithTheIndex) {
  std::mt19937 random(5);
  for (int round = 0; round < 300; round++) {
    const int n = 1 + round;
    const unsigned keys = 1 + static_cast<unsigned>(random()) % 40;
    std::vector<Item> walked = itemsOf(n, [&](int) { return static_cast<int>(random() % keys); });
    std::vector<Item> indexed = walked;
    Partitions walk(walked.data(), n, before, INT_MAX);
    Partitions index(indexed.data(), n, before, 0);
    std::vector<std::pair<int, int>> parts{{0, n}}; // first place and size
    while (!parts.empty()) {
      const auto [first, size] = parts.back();
      parts.pop_back();
      const int at = static_cast<int>(random() % static_cast<unsigned>(size));
      const int left = walk.cut(first, size, at);
      ASSERT_EQ(index.cut(first, size, at), left);
      ASSERT_TRUE(indexed == walked);
      if (left == 0) continue; // the pivot is the least and stands first
      for (const auto& part : {std::pair(first, left), std::pair(first + left, size - left)})
        if (part.second > 1) parts.push_back(part);
    }
  }
}

// ------------------------------------------------------------------------------------------------
// Blocks and lists in a pool

TEST(Pool, BlocksDoNotOverlap) {
  BlockPool pool;
  std::mt19937 random(3);
  std::vector<std::pair<unsigned char*, size_t>> blocks;
  const auto give = [&](size_t i) {
    for (size_t k = 0; k < blocks[i].second; k++)
      ASSERT_EQ(blocks[i].first[k], blocks[i].second % 251) << "written by another block";
    pool.give(blocks[i].first, blocks[i].second);
    blocks[i] = blocks.back();
    blocks.pop_back();
  };
  for (int step = 0; step < 20000; step++) {
    if (blocks.size() > 500 || (!blocks.empty() && random() % 3 == 0))
      give(random() % blocks.size());
    const size_t bytes = random() % 50 == 0 ? 1000 + random() % 50 : 1 + random() % 80;
    unsigned char* const block = static_cast<unsigned char*>(pool.take(bytes));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0);
    std::fill(block, block + bytes, static_cast<unsigned char>(bytes % 251));
    blocks.emplace_back(block, bytes);
  }
  while (!blocks.empty()) give(blocks.size() - 1);
}

TEST(Pool, ListsGrowWithTheirElements) {
  BlockPool pool;
  WatchList<int> lists[3];
  for (int i = 0; i < 100; i++)
    for (WatchList<int>& list : lists) list.push(pool, i);
  lists[0].shrink(90);
  lists[1].release(pool);
  lists[1].push(pool, 7);
  EXPECT_EQ(lists[0].size(), 10);
  EXPECT_EQ(lists[1].size(), 1);
  EXPECT_EQ(lists[1].last(), 7);
  for (int i = 0; i < 10; i++) EXPECT_EQ(lists[0][i], i);
  for (int i = 0; i < 100; i++) EXPECT_EQ(lists[2][i], i);
  for (WatchList<int>& list : lists) list.release(pool);
}

// ------------------------------------------------------------------------------------------------
// The decision order

class Order : public testing::Test {
 protected:
  vec<signed char> values;
  vec<double> activities;
  VarOrder order{values, activities};

  void newVars(int n, bool decision) {
    for (int i = 0; i < n; i++) {
      values.push(0);
      activities.push(0);
      order.newVar(decision);
    }
  }
  std::vector<Var> sequence() const { return SolverAudit::sequence(order); }
  void raise(Var x, double activity) {
    activities[x] = activity;
    order.update(x);
  }
};

TEST_F(Order, ScanStartFollowsAssignments) {
  newVars(6, true);
  for (Var x = 0; x < 5; x++) {
    EXPECT_EQ(order.select(0), x);
    values[x] = 1;
  }
  EXPECT_EQ(order.select(0), 5);
  EXPECT_EQ(SolverAudit::scanStart(order), 5);
  values[2] = 0;
  order.undo(2);
  EXPECT_EQ(SolverAudit::scanStart(order), 2);
  values[5] = values[2] = -1;
  EXPECT_EQ(order.select(0), var_Undef);
}

TEST_F(Order, OnlyDecisionVariablesAreChosen) {
  newVars(1, false);
  EXPECT_EQ(order.select(1), var_Undef);          // nothing to draw from
  EXPECT_EQ(SolverAudit::seed(order), 825355524); // one draw with every call
  newVars(1, true);
  raise(0, 5);
  EXPECT_EQ(order.select(0), 1);
  values[1] = 1;
  order.undo(0);
  EXPECT_EQ(order.select(0), var_Undef);
  EXPECT_FALSE(order.decisionVar(0));
}

TEST_F(Order, RandomChoiceFallsBackOnActivity) {
  newVars(3, true);
  EXPECT_EQ(order.select(1), 2); // 1710755348 / 2147483647 * 3
  EXPECT_EQ(SolverAudit::scanStart(order), 0);

  values[0] = values[1] = 1;
  for (int i = 0; i < 20; i++) EXPECT_EQ(order.select(1), 2);
}

/// Against one plain array, over enough variables for blocks to fill, split and empty.
TEST_F(Order, LongOrderIsLikeAPlainArray) {
  constexpr int n = 1500;
  newVars(n, true);
  std::vector<Var> plain = sequence();
  std::mt19937 random(7);
  const auto below = [&random](int limit) {
    return static_cast<int>(random() % static_cast<unsigned>(limit));
  };
  std::vector<Var> assigned;
  for (int step = 0; step < 30000; step++) {
    const int kind = below(10);
    if (kind < 4) { // decide
      const auto open =
          std::find_if(plain.begin(), plain.end(), [this](Var x) { return values[x] == 0; });
      const Var x = order.select(0);
      ASSERT_EQ(x, open == plain.end() ? var_Undef : *open) << "step " << step;
      if (x == var_Undef) continue;
      values[x] = 1;
      assigned.push_back(x);
    } else if (kind < 5) { // go back
      for (int k = below(step % 1000 == 0 ? n : 8); k > 0 && !assigned.empty(); k--) {
        values[assigned.back()] = 0;
        order.undo(assigned.back());
        assigned.pop_back();
      }
    } else if (!assigned.empty()) { // bump: few values, so that there are ties
      const Var x = assigned[static_cast<size_t>(below(static_cast<int>(assigned.size())))];
      const int more = kind == 5 ? below(step / 50 + 2) : below(2);
      raise(x, activities[x] + more);
      if (more == 0) continue;
      plain.erase(std::find(plain.begin(), plain.end(), x));
      plain.insert(std::find_if(plain.begin(), plain.end(),
                                [&](Var y) { return activities[y] < activities[x]; }),
                   x);
    }
    if (step % 500 == 0) {
      ASSERT_EQ(sequence(), plain) << "step " << step;
    }
  }
  ASSERT_EQ(sequence(), plain);
}

TEST_F(Order, ResortAndShuffleKeepPositions) {
  newVars(50, true);
  for (Var x = 0; x < 50; x++) activities[x] = x % 7;
  order.updateAll();
  const std::vector<Var> sorted = sequence();
  for (size_t i = 1; i < 50; i++) EXPECT_GE(activities[sorted[i - 1]], activities[sorted[i]]);
  order.permute(40);
  std::vector<Var> shuffled = sequence();
  EXPECT_NE(shuffled, sorted);
  EXPECT_TRUE(std::equal(sorted.begin() + 40, sorted.end(), shuffled.begin() + 40));
  std::sort(shuffled.begin(), shuffled.end());
  for (int i = 0; i < 50; i++) EXPECT_EQ(shuffled[static_cast<size_t>(i)], i);
}

// ------------------------------------------------------------------------------------------------
// Time

/// The total time is a 32-bit number of microseconds, which scripts have come to know.
TEST(Time, ReportWrapsAfter2147Seconds) {
  EXPECT_EQ(reportedSeconds(1000000, 3500000), 2.5);
  EXPECT_EQ(reportedSeconds(5, INT64_C(2147483652)), 2147.483647);
  EXPECT_EQ(reportedSeconds(5, INT64_C(2147483653)), -2147.483648);
  EXPECT_EQ(reportedSeconds(0, INT64_C(4294967296) + 1000000), 1.0);
}

} // namespace
