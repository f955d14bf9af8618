/// \file
/// Decimal text to and from the wide integers.
#include "Integer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

namespace formats {

std::optional<Int> parseInt(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  // As many digits as 64 bits can hold are cheaper there.
  constexpr size_t narrow = std::numeric_limits<std::uint64_t>::digits10;
  std::uint64_t low = 0;
  for (const char c : text.substr(0, narrow)) {
    if (c < '0' || c > '9') return std::nullopt;
    low = 10 * low + static_cast<unsigned>(c - '0');
  }
  Int value = static_cast<Int>(low);
  for (const char c : text.substr(std::min(narrow, text.size()))) {
    if (c < '0' || c > '9') return std::nullopt;
    const int digit = c - '0';
    if (value > (largest_int - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return negative ? -value : value;
}

void append(std::string& text, Int value) {
  const auto narrow = static_cast<std::int64_t>(value);
  if (value != narrow) {
    text += toString(value);
    return;
  }
  std::array<char, 20> digits;
  text.append(digits.data(),
              std::to_chars(digits.data(), digits.data() + digits.size(), narrow).ptr);
}

std::string toString(Int value) {
  std::string digits;
  const bool negative = value < 0;
  // Digits are taken with the value's own sign: the smallest value has no positive counterpart.
  do {
    const int digit = static_cast<int>(value % 10);
    digits += static_cast<char>('0' + (digit < 0 ? -digit : digit));
    value /= 10;
  } while (value != 0);
  if (negative) digits += '-';
  std::reverse(digits.begin(), digits.end());
  return digits;
}

} // namespace formats
