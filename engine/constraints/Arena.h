/// \file
/// The memory of all stored constraints: one growing block, addressed by 32-bit references, emptied
/// of constraints that have gone by copying the others into a new one.
#ifndef ESTOC_CONSTRAINTS_ARENA_H
#define ESTOC_CONSTRAINTS_ARENA_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace estoc {

/// Where a stored constraint begins, counted in units of the arena; below 2^31, so that watch
/// entries have a bit to spare.
using Ref = std::uint32_t;
inline constexpr Ref no_ref = ~Ref{0};

/// Units of 16 bytes, so that 128-bit integers lie aligned; 32 GiB can be addressed. Growing moves
/// everything: pointers into the arena do not outlive an allocation.
class Arena {
  struct alignas(16) Unit {
    unsigned char bytes[16];
  };
  Unit* units = nullptr;
  std::size_t used_units = 0;
  std::size_t capacity = 0;
  static constexpr std::size_t most_units = std::size_t{1} << 31;

  void grow(std::size_t needed) {
    if (needed >= most_units) throw std::bad_alloc();
    std::size_t wanted = capacity < 1024 ? 1024 : capacity + capacity / 2;
    if (wanted < needed) wanted = needed;
    resize(wanted);
  }
  void resize(std::size_t wanted) {
    void* const bigger = std::realloc(static_cast<void*>(units), wanted * sizeof(Unit));
    if (bigger == nullptr) throw std::bad_alloc();
    units = static_cast<Unit*>(bigger);
    capacity = wanted;
  }

 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() { std::free(units); }

  static std::size_t unitsFor(std::size_t bytes) {
    return (bytes + sizeof(Unit) - 1) / sizeof(Unit);
  }

  /// Room for `bytes` bytes, uninitialised. Throws std::bad_alloc when there is none.
  Ref allocate(std::size_t bytes) {
    const std::size_t count = unitsFor(bytes);
    if (used_units + count > capacity) grow(used_units + count);
    const auto ref = static_cast<Ref>(used_units);
    used_units += count;
    return ref;
  }
  void* at(Ref ref) {
    assert(ref < used_units);
    return units + ref;
  }
  const void* at(Ref ref) const {
    assert(ref < used_units);
    return units + ref;
  }
  /// Bytes in use.
  std::size_t bytes() const { return used_units * sizeof(Unit); }

  /// Takes over what `other` holds, which is empty afterwards.
  void takeOver(Arena& other) {
    std::free(units);
    units = std::exchange(other.units, nullptr);
    used_units = std::exchange(other.used_units, 0);
    capacity = std::exchange(other.capacity, 0);
  }
  /// Makes room for `bytes` bytes in all, and no more than that.
  void reserve(std::size_t bytes) {
    if (unitsFor(bytes) > capacity) resize(unitsFor(bytes));
  }
};

} // namespace estoc

#endif
