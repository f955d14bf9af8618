/// \file
/// The rarer ways through the table of names.
#include "Names.h"

#include "KeyedHash.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace formats {
namespace {

/// The half of the hash that is kept; it places up to as many names as there are numbers.
std::uint32_t hashOf(std::string_view name) {
  return static_cast<std::uint32_t>(keyedHash(name, processKey()));
}

} // namespace

int Names::findHashed(std::string_view name, std::uint32_t hash) const {
  if (used == 0) return -1;
  const std::size_t mask = slots.size() - 1;
  for (std::size_t i = hash & mask; slots[i].entry != 0; i = (i + 1) & mask) {
    const int number = static_cast<int>(slots[i].entry - 1);
    if (slots[i].hash == hash && (*this)[number] == name) return number;
  }
  return -1;
}

int Names::find(std::string_view name) const {
  const std::size_t index = indexOf(name);
  if (index != 0 && index < indexed.size() && indexed[index] != 0) return indexed[index] - 1;
  return used == 0 ? -1 : findHashed(name, hashOf(name));
}

int Names::append(std::string_view name) {
  if (ends.size() >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw std::bad_alloc();
  std::copy_n(name.data(), name.size(), letters.extend(name.size()));
  ends.push(letters.size());
  return size() - 1;
}

void Names::place(Slot slot) {
  const std::size_t mask = slots.size() - 1;
  std::size_t i = slot.hash & mask;
  while (slots[i].entry != 0) i = (i + 1) & mask;
  slots[i] = slot;
}

void Names::enlarge() {
  Array<Slot> old = std::exchange(slots, {});
  slots.fill(std::max(std::size_t{64}, 2 * old.size()), {});
  for (std::size_t i = 0; i < old.size(); i++)
    if (old[i].entry != 0) place(old[i]);
}

Names::Sought Names::seekHashed(std::string_view name) const {
  const std::uint32_t hash = hashOf(name);
  if (!slots.empty()) prefetch(&slots[hash & (slots.size() - 1)]);
  return {name, 0, hash, 0};
}

void Names::approach(Sought& sought, int step) const {
  if (step == 1 && used != 0) {
    const std::size_t mask = slots.size() - 1;
    std::size_t i = sought.hash & mask;
    while (slots[i].entry != 0 && slots[i].hash != sought.hash) i = (i + 1) & mask;
    sought.guess = slots[i].entry;
    if (sought.guess != 0) prefetch(&ends[sought.guess - 1]);
  } else if (step == 2 && sought.guess != 0) {
    prefetch((*this)[static_cast<int>(sought.guess - 1)].data());
  }
}

int Names::addSlowly(const Sought& sought) {
  const std::string_view name = sought.name;
  const std::size_t index = sought.index;
  std::uint32_t hash = sought.hash;
  if (used != 0) {
    if (index != 0) hash = hashOf(name);
    const int known = findHashed(name, hash);
    if (known >= 0) return known;
  }
  // An index far beyond what there is would cost memory out of proportion.
  if (index != 0 && index <= std::max({expected, permitted, 2 * ends.size() + 1000})) {
    const int number = append(name);
    if (index >= indexed.size()) indexed.fill(std::max(index, expected) + 1, 0);
    indexed[index] = number + 1;
    return number;
  }
  if (index != 0) hash = hashOf(name);
  if (2 * (used + 1) > slots.size()) enlarge();
  const int number = append(name);
  place({static_cast<std::uint32_t>(number) + 1, hash});
  used++;
  return number;
}

} // namespace formats
