/// \file
/// Words, and the buffer behind them.
#include "Lexer.h"

#include "Refusal.h"

#include <algorithm>

namespace checker {

namespace {

constexpr std::size_t piece = std::size_t{1} << 18U;
/// A longer word is an attack or an accident.
constexpr std::size_t longest_word = std::size_t{1} << 16U;
constexpr int nothing = -1;

bool isBlank(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r' && c != '\n');
}

bool isOperator(int c) {
  return c == '<' || c == '>' || c == '=';
}

bool endsWord(int c) {
  return c == nothing || c == '\n' || c == ';' || c == ':' || c == '%' || isBlank(c);
}

} // namespace

Lexer::Lexer(std::istream& from) : text(from), buffer(2 * piece) {
  read();
}

/// Reads more behind what is there; what is before `from` is not needed any more.
bool Lexer::fill(std::size_t from) {
  std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(from),
            buffer.begin() + static_cast<std::ptrdiff_t>(end), buffer.begin());
  begin -= from;
  end -= from;
  text.read(buffer.data() + end, static_cast<std::streamsize>(buffer.size() - end));
  end += static_cast<std::size_t>(text.gcount());
  if (text.bad()) throw Refusal("the proof cannot be read any further");
  return text.gcount() > 0;
}

/// The character so many places on, `nothing` at the end.
int Lexer::peek(std::size_t offset) {
  if (begin + offset >= end && !fill(begin)) return nothing;
  return static_cast<unsigned char>(buffer[begin + offset]);
}

void Lexer::skipLine() {
  for (int c = peek(); c != nothing && c != '\n'; c = peek()) begin++;
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
  for (;;) {
    const int c = peek();
    if (c == '\n' && !lines_count) {
      current_line++;
      line_begins = true;
      begin++;
    } else if (c == '%' || (c == '*' && line_begins && lines_count)) {
      skipLine();
    } else if (isBlank(c)) {
      begin++;
    } else {
      break;
    }
  }
  const int first = peek();
  std::size_t length = first == nothing ? 0 : 1;
  next_kind = first == nothing ? Kind::end
              : first == ';'   ? Kind::semicolon
              : first == ':'   ? Kind::colon
              : first == '\n'  ? Kind::line_end
                               : Kind::word;
  if (next_kind == Kind::word) {
    const bool is_operator = isOperator(first);
    for (int c = peek(length); !endsWord(c) && (!is_operator || isOperator(c)); c = peek(length))
      if (++length > longest_word) throw Refusal("a word of endless length");
  }
  next_word = {buffer.data() + begin, length};
}

} // namespace checker
