/// \file
/// A proof cut into words, as it streams by.
#ifndef QUILLON_CHECKER_LEXER_H
#define QUILLON_CHECKER_LEXER_H

#include <cstdint>
#include <istream>
#include <string_view>
#include <vector>

namespace checker {

/// Words are separated by white space; ";" and ":" stand for themselves, and so does a row of
/// "<", ">" and "=" unless it is in a word. "%" begins a comment up to the end of the line. While
/// lines count, the end of a line is a word, too, and a line that begins with "*" is a comment.
class Lexer {
 public:
  enum class Kind { word, semicolon, colon, line_end, end };

  explicit Lexer(std::istream& text);

  /// What comes next, which stays until it is taken.
  Kind kind() const { return next_kind; }
  /// The letters of it; valid until it is taken.
  std::string_view word() const { return next_word; }
  void take();

  /// Whether the end of a line is a word from the next one on.
  void countLines(bool on) { lines_count = on; }
  /// The number of the line that the word last taken is on, from 1.
  std::uint64_t line() const { return last_line; }

 private:
  std::istream& text;
  std::vector<char> buffer;
  std::size_t begin = 0; ///< of what is not used up
  std::size_t end = 0;   ///< of what has been read
  bool lines_count = true;
  bool line_begins = true;
  std::uint64_t current_line = 1;
  std::uint64_t last_line = 1;
  Kind next_kind = Kind::end;
  std::string_view next_word;

  bool fill();
  void skipLine();
  bool skipBlanks();
  void read();
};

} // namespace checker

#endif
