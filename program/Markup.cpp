/// \file
/// Escaping, and how numbers look.
#include "Markup.h"

#include "process/Program.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace html {

namespace {

constexpr const char* replacement = "\xEF\xBF\xBD";
constexpr const char* narrow_space = "\xE2\x80\xAF";

unsigned byteAt(std::string_view text, std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

/// How many bytes the character at the beginning of `text` has, 0 if there is none that a page may
/// have.
std::size_t lengthOfCharacter(std::string_view text) {
  const unsigned first = byteAt(text, 0);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4 || text.size() < length) return 0;
  unsigned code = first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; i++) {
    if ((byteAt(text, i) & 0xC0U) != 0x80) return 0;
    code = code << 6 | (byteAt(text, i) & 0x3FU);
  }
  constexpr unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_control = code < 0xA0;
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool is_character = (code & 0xFFFEU) != 0xFFFE && code <= 0x10FFFF;
  return code >= least[length] && !is_control && !is_surrogate && is_character ? length : 0;
}

} // namespace

std::string escaped(std::string_view raw) {
  const std::string text = process::visible(raw);
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = lengthOfCharacter(std::string_view(text).substr(i));
    if (length == 0)
      result += replacement;
    else if (text[i] == '<')
      result += "&lt;";
    else if (text[i] == '>')
      result += "&gt;";
    else if (text[i] == '&')
      result += "&amp;";
    else if (text[i] == '"')
      result += "&quot;";
    else if (text[i] == '\'')
      result += "&#39;";
    else
      result.append(text, i, length);
    i += length == 0 ? 1 : length;
  }
  return result;
}

std::string number(formats::Int value) {
  std::string text = formats::toString(value);
  const std::size_t digits_begin = value < 0 ? 1 : 0;
  constexpr std::size_t without_groups = 4;
  if (text.size() - digits_begin > without_groups)
    for (std::size_t i = text.size() - 3; i > digits_begin && i < text.size(); i -= 3)
      text.insert(i, narrow_space);
  // A minus sign as wide as a digit.
  return value < 0 ? "\xE2\x88\x92" + text.substr(1) : text;
}

std::size_t lettersOf(std::string_view text) {
  const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

std::string printed(const char* format, double value) {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string percent(double share) {
  constexpr double least = 0.0001;
  if (share > 0 && share < least) return "&lt; 0.01%";
  return printed("%.3g%%", 100 * share);
}

std::string duration(double seconds) {
  // Limits are such that three digits do not round to four.
  if (seconds < 0.0009995) return printed("%.0f \xC2\xB5s", 1e6 * seconds);
  if (seconds < 0.9995) return printed("%.3g ms", 1e3 * seconds);
  if (seconds < 999.5) return printed("%.3g s", seconds);
  return number(static_cast<formats::Int>(std::llround(seconds))) + " s";
}

} // namespace html
