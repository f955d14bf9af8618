/// \file
/// A growing array of plain records for texts and problems of many millions of entries. It grows in
/// place where the C library can move pages instead of bytes, so that its peak is its size.
#ifndef QUILLON_FORMATS_ARRAY_H
#define QUILLON_FORMATS_ARRAY_H

#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace formats {

template <class T> class Array {
  static_assert(std::is_trivially_copyable_v<T>, "entries are moved as bytes");

  T* entries = nullptr;
  std::size_t count = 0;
  std::size_t room = 0;

 public:
  Array() = default;
  Array(Array&& other) noexcept
      : entries(std::exchange(other.entries, nullptr)), count(std::exchange(other.count, 0)),
        room(std::exchange(other.room, 0)) {}
  Array& operator=(Array&& other) noexcept {
    std::swap(entries, other.entries);
    std::swap(count, other.count);
    std::swap(room, other.room);
    return *this;
  }
  // The analyzer takes what is in a std::optional to be destroyed a second time with its storage.
  ~Array() { std::free(entries); } // NOLINT(clang-analyzer-unix.Malloc)

  std::size_t size() const { return count; }
  std::size_t capacity() const { return room; }
  bool empty() const { return count == 0; }
  T* data() { return entries; }
  const T* data() const { return entries; }
  T& operator[](std::size_t i) {
    assert(i < count);
    return entries[i];
  }
  const T& operator[](std::size_t i) const {
    assert(i < count);
    return entries[i];
  }
  T& back() { return (*this)[count - 1]; }
  const T& back() const { return (*this)[count - 1]; }

  /// Makes room for `wanted` entries in all. Throws `std::bad_alloc`, and leaves everything as it
  /// was, when there is none.
  void reserve(std::size_t wanted) {
    if (wanted <= room) return;
    if (wanted > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
    void* const moved = std::realloc(static_cast<void*>(entries), wanted * sizeof(T));
    if (moved == nullptr) throw std::bad_alloc();
    entries = static_cast<T*>(moved);
    room = wanted;
  }
  void push(T entry) {
    if (count == room) reserve(room + room / 2 + 16);
    entries[count++] = entry;
  }
  /// Cuts the array to `wanted` entries.
  void truncate(std::size_t wanted) {
    assert(wanted <= count);
    count = wanted;
  }
  /// Adds `value` at the end until there are `wanted` entries.
  void fill(std::size_t wanted, T value) {
    if (wanted > room) reserve(wanted + wanted / 2);
    while (count < wanted) entries[count++] = value;
  }
  /// Adds `added` entries without a value and returns the first.
  T* extend(std::size_t added) {
    if (added > room - count)
      reserve(count + added < room + room / 2 ? room + room / 2 : count + added);
    count += added;
    return entries + (count - added);
  }
};

} // namespace formats

#endif
