/// \file
/// Decimal text to and from the wide integers.
#include "Integer.h"

#include <algorithm>

namespace formats {

std::optional<Int> parseInt(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  Int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    const int digit = c - '0';
    if (value > (largest_int - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return negative ? -value : value;
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
