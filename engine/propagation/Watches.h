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

/// A growable array. A single element lies in it, where the address of several would be: most lists
/// of watches are that short in many problems, and looking elsewhere costs more than anything else
/// that a visit does. With elements of 8 bytes it takes 16. They are relocated bitwise.
template <class T> class CompactList {
  static_assert(std::is_trivially_copyable_v<T>);
  union Place {
    T* elsewhere;
    T here; ///< with a capacity of 1
    Place() : elsewhere(nullptr) {}
  };
  Place place;
  std::uint32_t count = 0;
  std::uint32_t capacity = 1;

  void grow() {
    if (capacity >= (std::uint32_t{1} << 31)) throw std::bad_alloc();
    resize(capacity == 1 ? 4 : capacity * 2);
  }
  void resize(std::uint32_t wanted) {
    void* const bigger = std::realloc(capacity == 1 ? nullptr : static_cast<void*>(place.elsewhere),
                                      wanted * sizeof(T));
    if (bigger == nullptr) throw std::bad_alloc();
    T* const elements = static_cast<T*>(bigger);
    if (capacity == 1 && count == 1) elements[0] = place.here;
    place.elsewhere = elements;
    capacity = wanted;
  }

 public:
  CompactList() = default;
  CompactList(CompactList&& other) noexcept
      : place(other.place), count(std::exchange(other.count, 0)),
        capacity(std::exchange(other.capacity, 1)) {}
  CompactList& operator=(CompactList&& other) noexcept {
    std::swap(place, other.place);
    std::swap(count, other.count);
    std::swap(capacity, other.capacity);
    return *this;
  }
  CompactList(const CompactList&) = delete;
  CompactList& operator=(const CompactList&) = delete;
  ~CompactList() {
    if (capacity != 1) std::free(place.elsewhere);
  }

  void push(const T& element) {
    if (count == capacity) grow();
    new (begin() + count++) T(element);
  }
  /// Makes room for `more` elements beside those that are there, and for no others.
  void makeRoom(std::uint32_t more) {
    if (more > ~std::uint32_t{0} - count) throw std::bad_alloc();
    if (count + more > capacity) resize(count + more);
  }
  std::uint32_t size() const { return count; }
  std::size_t bytes() const { return capacity == 1 ? 0 : capacity * sizeof(T); }
  T& operator[](std::uint32_t i) { return begin()[i]; }
  const T& operator[](std::uint32_t i) const { return begin()[i]; }
  T* begin() { return capacity == 1 ? &place.here : place.elsewhere; }
  T* end() { return begin() + count; }
  const T* begin() const { return capacity == 1 ? &place.here : place.elsewhere; }
  const T* end() const { return begin() + count; }
  /// Keeps the elements before `end` only.
  void truncate(const T* end) { count = static_cast<std::uint32_t>(end - begin()); }
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
  static constexpr std::uint32_t counting = std::uint32_t{1} << 31;
  std::uint32_t code;
  std::uint32_t detail;

  RowWatch(Ref ref, bool cardinality, std::uint32_t d)
      : code(2 * ref + (cardinality ? 1U : 0U)), detail(d) {}

 public:
  /// A cardinality watches its literal at `place`.
  static RowWatch ofCardinality(Ref ref, std::uint32_t place) { return {ref, true, place}; }
  /// A `General32` counts all its literals, one of them with this coefficient, which saves the look
  /// at the term.
  static RowWatch ofCount(Ref ref, std::int32_t coefficient) {
    return {ref, false, counting | static_cast<std::uint32_t>(coefficient)};
  }
  /// Another general constraint watches or counts term `place`.
  static RowWatch ofTerm(Ref ref, std::uint32_t place) { return {ref, false, place}; }

  Ref ref() const { return code >> 1; }
  bool cardinality() const { return (code & 1) != 0; }
  bool counts() const { return (detail & counting) != 0; }
  /// If it counts.
  std::int32_t coefficient() const { return static_cast<std::int32_t>(detail & ~counting); }
  /// If it does not.
  std::uint32_t place() const { return detail; }
  void setRef(Ref ref) { code = 2 * ref + (code & 1); }
};

/// Who is to be visited when a literal becomes false. Clauses and rows are visited one soon after
/// the other, so their lists share a line of the cache.
struct alignas(32) LiteralWatches {
  CompactList<ClauseWatch> clauses;
  CompactList<RowWatch> rows;
};
static_assert(sizeof(LiteralWatches) == 32);

} // namespace estoc

#endif
