/// \file
/// Numbers as text, quickly: a proof consists of little else.
#ifndef ESTOC_PROOF_TEXT_H
#define ESTOC_PROOF_TEXT_H

#include "numbers/Width.h"

#include <charconv>
#include <string>

namespace estoc {

inline void appendNumber(std::string& text, std::uint64_t number) {
  char digits[20];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  text.append(digits, static_cast<std::size_t>(end - digits));
}
inline void appendNumber(std::string& text, std::int64_t number) {
  char digits[21];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  text.append(digits, static_cast<std::size_t>(end - digits));
}
inline void appendNumber(std::string& text, std::int32_t number) {
  appendNumber(text, static_cast<std::int64_t>(number));
}
inline void appendNumber(std::string& text, const Int256& number) {
  text += number.str();
}
inline void appendNumber(std::string& text, const BigInt& number) {
  text += number.str();
}
inline void appendNumber(std::string& text, Int128 number) {
  if (number >= INT64_MIN && number <= INT64_MAX)
    appendNumber(text, static_cast<std::int64_t>(number));
  else
    appendNumber(text, Int256(number));
}

} // namespace estoc

#endif
