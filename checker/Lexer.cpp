/// \file
/// Words, and the buffer behind them.
#include "Lexer.h"

#include "Refusal.h"

#include <algorithm>
#include <array>

namespace checker {

namespace {

constexpr std::size_t piece = std::size_t{1} << 18U;
/// A longer word is an attack or an accident.
constexpr std::size_t longest_word = std::size_t{1} << 16U;

/// Those up to `relation` can be in words.
enum class Class : unsigned char { inside, relation, blank, line_end, other };

/// By character.
constexpr std::array<Class, 256> classes = [] {
  std::array<Class, 256> result{};
  for (const unsigned char c : {' ', '\t', '\r', '\v', '\f'}) result[c] = Class::blank;
  for (const unsigned char c : {'<', '>', '='}) result[c] = Class::relation;
  for (const unsigned char c : {';', ':', '%'}) result[c] = Class::other;
  result['\n'] = Class::line_end;
  return result;
}();

Class classOf(char c) {
  return classes[static_cast<unsigned char>(c)];
}

} // namespace

Lexer::Lexer(std::istream& from) : text(from), buffer(2 * piece) {
  read();
}

/// Reads more behind what is left; whether there was any.
bool Lexer::fill() {
  std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(begin),
            buffer.begin() + static_cast<std::ptrdiff_t>(end), buffer.begin());
  end -= begin;
  begin = 0;
  text.read(buffer.data() + end, static_cast<std::streamsize>(buffer.size() - end));
  if (text.bad()) throw Refusal("the proof is damaged or cannot be read any further");
  end += static_cast<std::size_t>(text.gcount());
  return text.gcount() > 0;
}

void Lexer::skipLine() {
  do {
    while (begin < end && buffer[begin] != '\n') begin++;
  } while (begin == end && fill());
}

/// Whether a word begins behind `begin`; skips what is none.
bool Lexer::skipBlanks() {
  for (;;) {
    while (begin < end && classOf(buffer[begin]) == Class::blank) begin++;
    if (begin == end) {
      if (!fill()) return false;
      continue;
    }
    const char c = buffer[begin];
    if (c == '\n' && !lines_count) {
      current_line++;
      begin++;
    } else if (c == '%' || (c == '*' && line_begins && lines_count)) {
      skipLine();
    } else {
      return true;
    }
  }
}

void Lexer::take() {
  last_line = current_line;
  begin += next_word.size();
  if (next_kind == Kind::line_end) {
    current_line++;
    line_begins = true;
  } else {
    line_begins = false;
  }
  read();
}

void Lexer::read() {
  if (begin < end && buffer[begin] == ' ') begin++; // nearly always all there is
  if (begin == end || line_begins || classOf(buffer[begin]) > Class::relation) {
    if (!skipBlanks()) {
      next_kind = Kind::end;
      next_word = {};
      return;
    }
    if (const char c = buffer[begin]; classOf(c) > Class::relation) {
      next_kind = c == ';' ? Kind::semicolon : c == ':' ? Kind::colon : Kind::line_end;
      next_word = {buffer.data() + begin, 1};
      return;
    }
  }
  // A relation ends where it ends, as in ">=1"; a word may have one inside, as in "->".
  next_kind = Kind::word;
  const bool is_relation = classOf(buffer[begin]) == Class::relation;
  std::size_t length = 1;
  do {
    const char* const limit = buffer.data() + end;
    const char* at = buffer.data() + begin + length;
    if (is_relation)
      while (at < limit && classOf(*at) == Class::relation) at++;
    else
      while (at < limit && classOf(*at) <= Class::relation) at++;
    length = static_cast<std::size_t>(at - buffer.data()) - begin;
    if (length > longest_word) throw Refusal("a word of endless length");
  } while (begin + length == end && fill());
  next_word = {buffer.data() + begin, length};
}

} // namespace checker
