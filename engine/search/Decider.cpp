/// \file
/// The orders of the variables, and their phases.
#include "Decider.h"

#include <algorithm>

namespace estoc {

namespace {
/// Activities fade by this factor with each conflict.
constexpr double decay = 0.95;
/// Activities are scaled down before they leave the range of doubles.
constexpr double activity_limit = 1e150;
} // namespace

void Decider::addVariable(bool phase) {
  const Var v = static_cast<Var>(links.size());
  activity.push_back(0.0);
  place.push_back(-1);
  links.emplace_back();
  append(v);
  hint = last;
  is_bumped.push_back(0);
  const signed char value = phase ? 1 : -1;
  saved.push_back(value);
  original.push_back(value);
  best.push_back(0);
  solution.push_back(0);
  insert(v);
}

void Decider::favour(Var v, double start) {
  activity[static_cast<std::size_t>(v)] = start;
  siftUp(place[static_cast<std::size_t>(v)]);
}

void Decider::onUnassign(int from) {
  constexpr int ahead = 16;
  noted = std::min(noted, from);
  std::uint64_t newest = links[static_cast<std::size_t>(hint)].stamp;
  for (int i = trail.size(); i-- > from;) {
    if (i >= from + ahead) {
      const auto coming = static_cast<std::size_t>(trail[i - ahead].var());
      prefetch(&saved[coming]);
      prefetch(&place[coming]);
      prefetch(&links[coming]);
    }
    const Var v = trail[i].var();
    saved[static_cast<std::size_t>(v)] = trail[i].negated() ? -1 : 1;
    if (place[static_cast<std::size_t>(v)] < 0) insert(v);
    const std::uint64_t stamp = links[static_cast<std::size_t>(v)].stamp;
    if (stamp > newest) {
      newest = stamp;
      hint = v;
    }
  }
}

// Heap --------------------------------------------------------------------------------------------

void Decider::siftUp(std::int32_t i) {
  const Var v = heap[static_cast<std::size_t>(i)];
  while (i > 0) {
    const std::int32_t parent = (i - 1) / 2;
    const Var p = heap[static_cast<std::size_t>(parent)];
    if (!before(v, p)) break;
    heap[static_cast<std::size_t>(i)] = p;
    place[static_cast<std::size_t>(p)] = i;
    i = parent;
  }
  heap[static_cast<std::size_t>(i)] = v;
  place[static_cast<std::size_t>(v)] = i;
}

void Decider::siftDown(std::int32_t i) {
  const auto count = static_cast<std::int32_t>(heap.size());
  const Var v = heap[static_cast<std::size_t>(i)];
  for (;;) {
    std::int32_t child = 2 * i + 1;
    if (child >= count) break;
    if (child + 1 < count &&
        before(heap[static_cast<std::size_t>(child) + 1], heap[static_cast<std::size_t>(child)]))
      child++;
    const Var c = heap[static_cast<std::size_t>(child)];
    if (!before(c, v)) break;
    heap[static_cast<std::size_t>(i)] = c;
    place[static_cast<std::size_t>(c)] = i;
    i = child;
  }
  heap[static_cast<std::size_t>(i)] = v;
  place[static_cast<std::size_t>(v)] = i;
}

void Decider::insert(Var v) {
  heap.push_back(v);
  siftUp(static_cast<std::int32_t>(heap.size()) - 1);
}

Var Decider::takeFirst() {
  const Var v = heap.front();
  place[static_cast<std::size_t>(v)] = -1;
  const Var moved = heap.back();
  heap.pop_back();
  if (!heap.empty()) {
    heap.front() = moved;
    siftDown(0);
  }
  return v;
}

// Queue -------------------------------------------------------------------------------------------

void Decider::append(Var v) {
  Link& link = links[static_cast<std::size_t>(v)];
  link.previous = last;
  link.next = -1;
  if (last >= 0)
    links[static_cast<std::size_t>(last)].next = v;
  else
    first = v;
  last = v;
  link.stamp = ++stamps;
}

void Decider::moveToEnd(Var v) {
  if (v == last) return;
  const Link link = links[static_cast<std::size_t>(v)];
  if (hint == v) hint = link.previous >= 0 ? link.previous : link.next;
  if (link.previous >= 0)
    links[static_cast<std::size_t>(link.previous)].next = link.next;
  else
    first = link.next;
  links[static_cast<std::size_t>(link.next)].previous = link.previous;
  append(v);
  if (!trail.isAssigned(v)) hint = v;
}

// Decisions ---------------------------------------------------------------------------------------

Var Decider::next() {
  if (stable) {
    while (!heap.empty()) {
      const Var v = heap.front();
      if (!trail.isAssigned(v)) return v;
      takeFirst();
    }
    return -1;
  }
  while (hint >= 0 && trail.isAssigned(hint)) {
    const Var before_hint = links[static_cast<std::size_t>(hint)].previous;
    if (before_hint < 0) return -1;
    hint = before_hint;
  }
  return hint;
}

Lit Decider::literal(Var v) const {
  const auto i = static_cast<std::size_t>(v);
  signed char value = 0;
  if (use_solution) value = solution[i];
  if (value == 0 && stable) value = best[i];
  if (value == 0) value = saved[i];
  return Lit::of(v, value < 0);
}

void Decider::bump(Var v) {
  if (is_bumped[static_cast<std::size_t>(v)] != 0) return;
  is_bumped[static_cast<std::size_t>(v)] = 1;
  bumped.push_back(v);
}

void Decider::endConflict() {
  if (stable) {
    for (const Var v : bumped) {
      double& a = activity[static_cast<std::size_t>(v)];
      a += increment;
      if (a > activity_limit) {
        for (double& x : activity) x /= activity_limit;
        increment /= activity_limit;
      }
      if (place[static_cast<std::size_t>(v)] >= 0) siftUp(place[static_cast<std::size_t>(v)]);
    }
    increment /= decay;
  } else {
    // In their order so far, so that the queue keeps what older conflicts have taught.
    by_stamp.clear();
    for (const Var v : bumped) by_stamp.emplace_back(links[static_cast<std::size_t>(v)].stamp, v);
    std::sort(by_stamp.begin(), by_stamp.end());
    for (const auto& [stamp, v] : by_stamp) moveToEnd(v);
  }
  for (const Var v : bumped) is_bumped[static_cast<std::size_t>(v)] = 0;
  bumped.clear();
}

// Phases ------------------------------------------------------------------------------------------

void Decider::noteTrail(int consistent) {
  if (consistent <= best_size) return;
  best_size = consistent;
  for (int i = noted; i < consistent; i++)
    best[static_cast<std::size_t>(trail[i].var())] = trail[i].negated() ? -1 : 1;
  noted = consistent;
}

void Decider::setSolution(const std::vector<bool>& values) {
  for (std::size_t i = 0; i < values.size(); i++) solution[i] = values[i] ? 1 : -1;
}

void Decider::rephase(Rephase how) {
  for (std::size_t i = 0; i < saved.size(); i++) {
    switch (how) {
    case Rephase::best:
      if (best[i] != 0) saved[i] = best[i];
      break;
    case Rephase::inverted:
      saved[i] = static_cast<signed char>(-original[i]);
      break;
    case Rephase::original:
      saved[i] = original[i];
      break;
    case Rephase::solution:
      if (solution[i] != 0) saved[i] = solution[i];
      break;
    }
    best[i] = 0;
  }
  best_size = 0;
  noted = 0;
}

} // namespace estoc
