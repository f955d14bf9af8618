/// \file
/// Text that is put together quickly from literals and numbers: a proof consists of little else.
#ifndef ESTOC_PROOF_TEXT_H
#define ESTOC_PROOF_TEXT_H

#include "numbers/Width.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <string_view>

namespace estoc {

/// A growing array of characters.
class Text {
  std::unique_ptr<char[]> bytes;
  std::size_t used = 0;
  std::size_t capacity = 0;

  void grow(std::size_t wanted) {
    const std::size_t larger = std::max({wanted, 2 * capacity, std::size_t{256}});
    std::unique_ptr<char[]> bigger(new char[larger]);
    if (used != 0) std::memcpy(bigger.get(), bytes.get(), used);
    bytes = std::move(bigger);
    capacity = larger;
  }
  /// Room for `count` more characters.
  char* room(std::size_t count) {
    if (capacity - used < count) grow(used + count);
    return bytes.get() + used;
  }

 public:
  const char* data() const { return bytes.get(); }
  std::size_t size() const { return used; }
  bool empty() const { return used == 0; }
  void clear() { used = 0; }

  void add(char c) {
    *room(1) = c;
    used++;
  }
  void add(std::string_view what) {
    if (what.empty()) return;
    std::memcpy(room(what.size()), what.data(), what.size());
    used += what.size();
  }
  void add(const Text& other) { add(std::string_view(other.data(), other.used)); }
  /// The same for at most `short_piece` characters, behind which as many can be read.
  static constexpr std::size_t short_piece = 16;
  void addShort(const char* what, std::size_t size) {
    std::memcpy(room(short_piece), what, short_piece);
    used += size;
  }
  /// A blank and a number.
  template <class N> void addNumber(const N& number) {
    if constexpr (std::is_integral_v<N> && sizeof(N) <= sizeof(std::int64_t)) {
      constexpr std::size_t most = 21;
      char* const begin = room(most + 1);
      *begin = ' ';
      const auto end = std::to_chars(begin + 1, begin + 1 + most, number).ptr;
      used += static_cast<std::size_t>(end - begin);
    } else if constexpr (std::is_same_v<N, Int128>) {
      if (number >= INT64_MIN && number <= INT64_MAX)
        addNumber(static_cast<std::int64_t>(number));
      else
        addNumber(Int256(number));
    } else {
      add(' ');
      add(number.str());
    }
  }
};

} // namespace estoc

#endif
