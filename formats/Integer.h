/// \file
/// The integers of problems and of claims about them: 128 bits wide, read with a guard, so that no
/// number in a text is ever taken for another one.
///
/// Nothing is ever computed with what needs more than `int_width`:
/// - a number in a text: `parseInt` gives nothing, and the reader refuses the text at its place;
/// - numbers that fit one by one but not together: a reader adds up the magnitudes of each
///   statement with `addTo` and refuses the text at the number that is one too many. Hence no sum
///   over a row or the objective of a problem can wrap, whatever the values of the variables;
/// - a claim about a sum: it is compared with the sum, never subtracted from it.
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

/// The bits of its magnitude, in the words of all messages about what does not fit.
inline constexpr const char* int_width = "127 bits";

/// The value of `text`: an optional sign, then decimal digits, nothing else. Nothing when the text
/// is anything else or its magnitude exceeds `largest_int`; any length is fine.
std::optional<Int> parseInt(std::string_view text);

/// `value` in decimal, with a minus sign when negative.
std::string toString(Int value);
/// Adds `value` in decimal to `text`.
void append(std::string& text, Int value);

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
