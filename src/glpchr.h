/// \file
/// What characters are and what they make: signs, numbers and names. ASCII, whatever the locale.
#ifndef QUILLON_GLPCHR_H
#define QUILLON_GLPCHR_H

#include <array>
#include <cstdint>

namespace glp {

enum CharClass : unsigned char {
  is_letter = 1,
  is_digit = 2,
  is_mark = 4, ///< no letter or digit, but allowed in a name
  is_space = 8,
  is_control = 16 ///< white space but the blank counts here, too
};

constexpr std::array<unsigned char, 256> makeCharClasses() {
  std::array<unsigned char, 256> classes{};
  for (unsigned c = 0; c < 32; c++) classes[c] = is_control;
  classes[127] = is_control;
  for (unsigned c = 'a'; c <= 'z'; c++) classes[c] = classes[c - 'a' + 'A'] = is_letter;
  for (unsigned c = '0'; c <= '9'; c++) classes[c] = is_digit;
  for (const char c : {'!', '"', '#', '$', '%', '&', '\'', '(', ')', ',',
                       '.', '/', '?', '@', '_', '`', '{',  '|', '}', '~'})
    classes[static_cast<unsigned char>(c)] = is_mark;
  classes[' '] = is_space;
  for (const char c : {'\t', '\n', '\v', '\f'})
    classes[static_cast<unsigned char>(c)] = is_space | is_control;
  return classes;
}

inline constexpr std::array<unsigned char, 256> char_classes = makeCharClasses();

/// Whether `c` is of one of `classes`.
inline bool isOf(char c, int classes) {
  return (char_classes[static_cast<unsigned char>(c)] & classes) != 0;
}

inline char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The first white space or control character in `text`.
inline const char* endOfRun(const char* text) {
  while (!isOf(*text, is_space | is_control)) text++;
  return text;
}

/// 1 for "+", -1 for "-", 0 for all that is no sign.
inline int signOf(char c) {
  return c == '+' ? 1 : c == '-' ? -1 : 0;
}

/// A number of more characters is out of range whatever its value: leading zeros count.
constexpr int longest_number = 255;

/// Whether a number begins with `c`, be it one that is not accepted.
inline bool beginsNumber(char c) {
  return c == '.' || isOf(c, is_digit);
}

/// Whether a name begins with `c`.
inline bool beginsName(char c) {
  return c != '.' && isOf(c, is_letter | is_mark);
}

/// Behind the digits that `text` begins with.
inline const char* behindDigits(const char* text) {
  while (isOf(*text, is_digit)) text++;
  return text;
}

/// Behind the characters that `text` begins with and a name may have.
inline const char* behindName(const char* text) {
  while (isOf(*text, is_letter | is_digit | is_mark)) text++;
  return text;
}

/// The value of the digits that `text` begins with goes to `value`. \return what is behind them, or
/// null as soon as it is more than `most`, which is below 2^59.
inline const char* readDigits(const char* text, std::int64_t most, std::int64_t& value) {
  value = 0;
  for (; isOf(*text, is_digit); text++) {
    value = 10 * value + (*text - '0');
    if (value > most) return nullptr;
  }
  return text;
}

} // namespace glp

#endif
