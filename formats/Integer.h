/// \file
/// The integers of problems and of claims about them: 128 bits wide, read with a guard, so that no
/// number in a text is ever taken for another one.
#ifndef QUILLON_FORMATS_INTEGER_H
#define QUILLON_FORMATS_INTEGER_H

#include <optional>
#include <string>
#include <string_view>

namespace formats {

__extension__ typedef __int128 Int;

/// The largest Int. The readers never produce the smallest one, so every Int they hand out can be
/// negated.
inline constexpr Int largest_int = ~(static_cast<Int>(1) << 127);

/// The value of `text`: an optional sign, then decimal digits, nothing else. Nothing when the text
/// is anything else or its magnitude exceeds `largest_int`; any length is fine.
std::optional<Int> parseInt(std::string_view text);

/// `value` in decimal, with a minus sign when negative.
std::string toString(Int value);

/// The magnitude of `value`, which must not be the smallest Int.
inline Int magnitude(Int value) {
  return value < 0 ? -value : value;
}

/// Adds `amount` to `sum` when the result can be represented; false, and `sum` as before, when not.
[[nodiscard]] inline bool addTo(Int& sum, Int amount) {
  Int result = 0;
  if (__builtin_add_overflow(sum, amount, &result)) return false;
  sum = result;
  return true;
}

} // namespace formats

#endif
