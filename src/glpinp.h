/// \file
/// The reader's input: words one after the other, where each of them stands for the messages, and
/// the way out of the read. Terms that nearly all are written alike are looked for ahead.
#ifndef QUILLON_GLPINP_H
#define QUILLON_GLPINP_H

#include "glpavl.h"

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace glp {

/// A term that stands in the input as one word, as nearly all do: a sign, perhaps a number and "*",
/// and a name.
struct PlainTerm {
  const char* start = nullptr;
  const char* end = nullptr; ///< where white space stands
  const char* name = nullptr;
  int coef = 0;
  std::uint64_t code = 0; ///< of the name; see `glp_avl_code`
  size_t length() const { return static_cast<size_t>(end - name); }
};

/// What is left of a text, and the word taken from it last.
///
/// Whatever is wrong ends the read by a jump to `way_out`, which the caller has set. Functions that
/// the jump leaves keep no object with a destructor.
class Input {
  /// Loading 1.5 million terms over 100 thousand variables took 1.4 times as long with 1 term in
  /// sight, 1.05 times with 4, and the same with 8 to 256.
  static constexpr unsigned terms_in_sight = 32;

  std::FILE* const in;
  const AVLTREE* const names; ///< is told the names in sight
  char* const buffer;         ///< the current word, and input that has not been looked at
  char* in_next = buffer;     ///< the next character, in `buffer`
  char* in_end = buffer;      ///< behind the last character there, where a zero stands
  bool in_ended = false;      ///< nothing more can be read
  int in_error = 0;           ///< the number of the error that kept it from being read; 0 for none
  int words = 0;              ///< and comments taken so far
  char* line = buffer;        ///< the current word, in `buffer`
  bool line_ended = false;    ///< it was ended by its line's end

  const char* seen = buffer; ///< what lies before has been looked over for plain terms
  unsigned first_term = 0;   ///< of those found and not passed yet; in `terms` modulo its size
  unsigned last_term = 0;    ///< behind them
  PlainTerm terms[terms_in_sight];

  [[noreturn]] void interrupt();
  bool fillBuffer(size_t length);
  void raiseCount();
  bool takeLine(bool is_comment);
  bool lookAhead();
  const PlainTerm* nextTerm();

 public:
  std::jmp_buf way_out;

  /// Of `file` nothing has been read yet through the stream. Names that are going to be looked up
  /// in `index` will be announced there.
  Input(std::FILE* file, const AVLTREE* index);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// The number of words and comments taken, the current one included: the position that messages
  /// give.
  int count() const { return words; }

  /// The current word, ended by a zero, without the carriage returns in it. It is empty at first,
  /// behind a comment and behind a term. It stays as it is until the next word, comment or term is
  /// taken.
  const char* word() const { return line; }

  /// Makes the next word the current one. A word that white space ends at once is empty. \return
  /// false at the end of input.
  bool takeWord() { return takeLine(false); }

  /// Skips a comment that the current word opened. \return false at the end of input.
  bool skipComment();

  /// Takes the next word if it is a plain term and all there. The term and its name, behind which a
  /// zero stands by then, stay until the next word, comment or term is taken. \return null, with
  /// nothing done, if it is not.
  const PlainTerm* takeTerm();

  /// Ends the read with a message about the current word.
  [[noreturn, gnu::format(printf, 2, 3)]] void fatal(const char* fmt, ...);
};

} // namespace glp

#endif
