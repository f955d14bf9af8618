/// \file
/// The alphabet of our own format, shared by its reader, its writer and whoever must find out
/// whether a name can be kept; and the lines and white space of all texts. Only ASCII counts,
/// whatever the locale.
#ifndef QUILLON_FORMATS_LEXICAL_H
#define QUILLON_FORMATS_LEXICAL_H

#include <array>
#include <cstddef>
#include <string_view>

namespace formats {

/// Names are at most this long.
inline constexpr std::size_t longest_name = 32;
/// A number in a text is an unsigned decimal integer up to this one.
inline constexpr long long largest_number = 2147483647;

inline constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
inline constexpr bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
inline constexpr bool isControl(char c) {
  return (c >= 0 && c < 32) || c == 127;
}
/// Blank, tab, line end, vertical tab, form feed and carriage return.
inline constexpr bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// A set of characters.
class CharacterSet {
  std::array<bool, 256> members{};

 public:
  template <class Predicate> constexpr explicit CharacterSet(Predicate isMember) {
    for (int c = 0; c < 256; c++)
      members[static_cast<std::size_t>(c)] = isMember(static_cast<char>(c));
  }
  constexpr bool operator()(char c) const { return members[static_cast<unsigned char>(c)]; }
};

/// Whether a character may begin a name of our format.
inline constexpr CharacterSet beginsName([](char c) {
  constexpr std::string_view others = "!\"#$%&'(),/?@_`{|}~";
  return isLetter(c) || others.find(c) != std::string_view::npos;
});
/// Whether a character may stand inside a name of our format.
inline constexpr CharacterSet continuesName([](char c) {
  return beginsName(c) || isDigit(c) || c == '.';
});

/// Whether `name` can stand in our format as it is, in any word it shares with other tokens.
inline bool isLegalName(std::string_view name) {
  if (name.empty() || name.size() > longest_name || !beginsName(name.front())) return false;
  for (const char c : name)
    if (!continuesName(c)) return false;
  return true;
}

/// `text` without the white space around it.
inline std::string_view trim(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}
/// Takes the first line off `text`; without its line end.
inline std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

} // namespace formats

#endif
