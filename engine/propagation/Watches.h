/// \file
/// The lists of what is to be visited when a literal becomes false.
#ifndef ESTOC_PROPAGATION_WATCHES_H
#define ESTOC_PROPAGATION_WATCHES_H

#include "constraints/Arena.h"
#include "estoc/Types.h"

#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

namespace estoc {

/// A growable array that takes 16 bytes when empty, since there are several for each literal. Its
/// elements are relocated bitwise.
template <class T> class CompactList {
  static_assert(std::is_trivially_copyable_v<T>);
  T* data = nullptr;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;

  void grow() {
    if (capacity >= (std::uint32_t{1} << 31)) throw std::bad_alloc();
    resize(capacity == 0 ? 4 : capacity * 2);
  }
  void resize(std::uint32_t wanted) {
    void* const bigger = std::realloc(static_cast<void*>(data), wanted * sizeof(T));
    if (bigger == nullptr) throw std::bad_alloc();
    data = static_cast<T*>(bigger);
    capacity = wanted;
  }

 public:
  CompactList() = default;
  CompactList(CompactList&& other) noexcept
      : data(std::exchange(other.data, nullptr)), count(std::exchange(other.count, 0)),
        capacity(std::exchange(other.capacity, 0)) {}
  CompactList& operator=(CompactList&& other) noexcept {
    std::swap(data, other.data);
    std::swap(count, other.count);
    std::swap(capacity, other.capacity);
    return *this;
  }
  CompactList(const CompactList&) = delete;
  CompactList& operator=(const CompactList&) = delete;
  ~CompactList() { std::free(data); }

  void push(const T& element) {
    if (count == capacity) grow();
    data[count++] = element;
  }
  /// Makes room for `more` elements beside those that are there, and for no others.
  void makeRoom(std::uint32_t more) {
    if (more > ~std::uint32_t{0} - count) throw std::bad_alloc();
    if (count + more > capacity) resize(count + more);
  }
  std::uint32_t size() const { return count; }
  std::size_t bytes() const { return capacity * sizeof(T); }
  T& operator[](std::uint32_t i) { return data[i]; }
  const T& operator[](std::uint32_t i) const { return data[i]; }
  T* begin() { return data; }
  T* end() { return data + count; }
  const T* begin() const { return data; }
  const T* end() const { return data + count; }
  /// Keeps the elements before `end` only.
  void truncate(const T* end) { count = static_cast<std::uint32_t>(end - data); }
  void clear() { count = 0; }
};

/// A clause to visit. For a clause of two literals the blocker is the other one, and the clause
/// itself need not be looked at.
class ClauseWatch {
  std::uint32_t code;

 public:
  Lit blocker;

  ClauseWatch(Ref ref, bool binary, Lit blocking)
      : code(2 * ref + (binary ? 1U : 0U)), blocker(blocking) {}
  Ref ref() const { return code >> 1; }
  bool binary() const { return (code & 1) != 0; }
  void setRef(Ref ref) { code = 2 * ref + (code & 1); }
};

/// A cardinality or a general constraint to visit.
class RowWatch {
  std::uint32_t code;

 public:
  /// Cardinality: the place among its literals. General: the coefficient for 32 bits, else the
  /// index of the term.
  std::uint32_t detail;

  RowWatch(Ref ref, bool cardinality, std::uint32_t d)
      : code(2 * ref + (cardinality ? 1U : 0U)), detail(d) {}
  Ref ref() const { return code >> 1; }
  bool cardinality() const { return (code & 1) != 0; }
  void setRef(Ref ref) { code = 2 * ref + (code & 1); }
};

} // namespace estoc

#endif
