// See glplpt.h. Characters make words, words make tokens, and a recursive-descent parser, whose
// grammar does not nest, makes rows of the tokens. The first error ends the read from wherever it
// is noticed by a jump back to the entry point; everything allocated hangs on the problem and the
// two name indexes, so nothing is lost on the way. Functions that a jump may leave therefore keep
// no object with a destructor.
//
// Time is linear in the length of the input.
#include "glplpt.h"

#include "Global.h"
#include "glpavl.h"
#include "glplib.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csetjmp>
#include <cstdarg>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

// ------------------------------------------------------------------------------------------------
// Characters: ASCII, whatever the locale

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

constexpr std::array<unsigned char, 256> char_classes = makeCharClasses();

/// Whether `c` is of one of `classes`.
bool isOf(char c, int classes) {
  return (char_classes[static_cast<unsigned char>(c)] & classes) != 0;
}

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// ------------------------------------------------------------------------------------------------
// The reader's state

enum Token : int {
  T_NONE = -1, ///< nothing has been scanned
  T_EOF,
  T_MINIMIZE,
  T_MAXIMIZE,
  T_SUBJECT_TO,
  T_BOUNDS,
  T_GENERAL,
  T_INTEGER,
  T_BINARY,
  T_END,
  T_NAME,
  T_NUMBER,
  T_PLUS,
  T_MINUS,
  T_ASTERISK,
  T_COLON,
  T_SEMICOLON,
  T_LE,
  T_GE,
  T_EQ,
  T_TERM ///< a plain term; see `scan_form_token`
};

struct Lexeme {
  const char* text; ///< in lower case
  Token token;
};

/// The section words cannot be names, although no rule of the grammar accepts them.
constexpr Lexeme keywords[] = {
    {"minimize:", T_MINIMIZE}, {"minimum:", T_MINIMIZE}, {"min:", T_MINIMIZE},
    {"maximize:", T_MAXIMIZE}, {"maximum:", T_MAXIMIZE}, {"max:", T_MAXIMIZE},
    {"st", T_SUBJECT_TO},      {"s.t.", T_SUBJECT_TO},   {"st.", T_SUBJECT_TO},
    {"bounds", T_BOUNDS},      {"bound", T_BOUNDS},      {"general", T_GENERAL},
    {"generals", T_GENERAL},   {"gen", T_GENERAL},       {"integer", T_INTEGER},
    {"integers", T_INTEGER},   {"int", T_INTEGER},       {"binary", T_BINARY},
    {"binaries", T_BINARY},    {"bin", T_BINARY},        {"end", T_END}};

constexpr int max_word_length = 131071;
constexpr int max_image_length = 255;
constexpr int max_message_length = 4095;
constexpr int max_plain_digits = 9; ///< so many always fit an int
constexpr unsigned terms_in_sight = 32;
constexpr int longest_short_form = 20;
constexpr size_t input_block = 65536;
/// Room for all that `fill_buffer` keeps, and a block behind it.
constexpr size_t input_buffer = size_t{2} * max_word_length + input_block;

/// A column with what the reader alone needs to know of it.
struct ReaderColumn : LPTCOL {
  /// The column's element in the form being parsed; holds only while the column is marked, that is,
  /// while `j` is negative. Saves a walk along the form for every repetition.
  LPTLFE* element;
};

/// A term that stands in the buffer as one word, as nearly all do: a sign, perhaps a short number
/// and "*", and a name.
struct PlainTerm {
  const char* start;
  const char* end; ///< where white space stands
  const char* name;
  int coef;
  std::uint64_t code; ///< of the name
  size_t length() const { return static_cast<size_t>(end - name); }
};

/// The working state of one read.
struct dsa {
  std::FILE* in;
  bool in_ended;       ///< nothing more can be read
  int in_error;        ///< the number of the error that kept it from being read; 0 for none
  char* in_next;       ///< the next character, in `buffer`
  char* in_end;        ///< behind the last character there, where a zero stands
  const char* seen;    ///< what lies before has been looked over for plain terms
  unsigned first_term; ///< of those found and not passed yet; in `terms` modulo its size
  unsigned last_term;  ///< behind them
  PlainTerm terms[terms_in_sight];
  const PlainTerm* term; ///< of the current token if it is one
  LPT* lpt;
  AVLTREE* trow;     ///< row names, but not those from `unindexed` on
  LPTROW* unindexed; ///< null: `trow` has all rows
  AVLTREE* tcol;     ///< column names
  std::jmp_buf jump;
  int count;       ///< words and comments read so far; messages give it as the position
  bool line_ended; ///< the current word was ended by its line's end
  char* line;      ///< the current word, in `buffer`
  int pos;         ///< of the next unread character in `line`
  int token;       ///< a Token
  int imlen;
  int value;                        ///< of the current token if it is a number
  char image[max_image_length + 1]; ///< the current token's text
  char buffer[input_buffer + 1];    ///< the current word, and input that has not been looked at
};

/// Leaves the read without a word, because a signal asks the program to wind up.
[[noreturn]] void interrupt(dsa& d) {
  std::longjmp(d.jump, 1);
}

/// Leaves the read with a message about the current word.
[[noreturn, gnu::format(printf, 2, 3)]] void fatal(dsa& d, const char* fmt, ...) {
  char message[max_message_length + 1];
  va_list arg;
  va_start(arg, fmt);
  std::vsnprintf(message, sizeof message, fmt, arg);
  va_end(arg);
  glp_lib_print("c %d: %s", d.count, message);
  std::longjmp(d.jump, 1);
}

// ------------------------------------------------------------------------------------------------
// Characters

/// Waits until there is something to read. A termination signal ends the wait even if it comes just
/// before, because outside the wait itself signals are held back.
void awaitInput(int fd) {
  sigset_t before;
  holdStopSignals(&before);
  pollfd input{fd, POLLIN, 0};
  while (stop_signal == 0 && ppoll(&input, 1, nullptr, &before) < 0 && errno == EINTR) {
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

/// Reads the next block behind what there is of the current word, which moves to the front of the
/// buffer. It stays where it is if it is longer than all before it, so that moving costs no more
/// than reading has. \return false at the end of input and on an error.
bool fill_buffer(dsa& d, size_t length) {
  if (d.in_ended) return false;
  if (length <= static_cast<size_t>(d.line - d.buffer)) {
    std::memcpy(d.buffer, d.line, length);
    d.line = d.buffer;
  }
  d.seen = d.in_next = d.in_end = d.line + length;
  d.first_term = d.last_term;
  insist(d.buffer + input_buffer - d.in_end >= static_cast<std::ptrdiff_t>(input_block));
  size_t filled = 0;
  const int fd = fileno(d.in);
  if (fd < 0) { // not a file of the system's
    filled = std::fread(d.in_end, 1, input_block, d.in);
    if (filled == 0 && std::ferror(d.in)) d.in_error = errno;
  } else {
    ssize_t got;
    do {
      awaitInput(fd);
      if (stop_signal != 0) interrupt(d);
      got = read(fd, d.in_end, input_block);
    } while (got < 0 && errno == EINTR);
    if (got < 0) d.in_error = errno;
    if (got > 0) filled = static_cast<size_t>(got);
  }
  if (stop_signal != 0) interrupt(d);
  d.in_end += filled;
  *d.in_end = '\0';
  d.in_ended = filled == 0;
  return !d.in_ended;
}

// ------------------------------------------------------------------------------------------------
// Words

void raise_count(dsa& d) {
  if (d.count == INT_MAX) glp_lib_too_large();
  d.count++;
}

/// Makes the next word the current one, or, with `isComment`, skips the rest of the input line. A
/// word that white space ends at once is empty. Characters that are dropped leave no gap: the word
/// closes up in place.
/// \return false at the end of input.
bool read_line(dsa& d, bool isComment) {
  if (stop_signal != 0) interrupt(d);
  raise_count(d);
  d.line = d.in_next;
  d.pos = 0;
  size_t length = 0;
  for (;;) {
    const char* const run = d.in_next; // of characters to be stored
    while (!isOf(*d.in_next, is_space | is_control)) d.in_next++;
    if (!isComment) {
      const size_t run_length = static_cast<size_t>(d.in_next - run);
      if (d.line + length != run) std::memmove(d.line + length, run, run_length);
      length += run_length;
      if (length > max_word_length) fatal(d, "word length exceeds %d characters", max_word_length);
    }
    if (d.in_next == d.in_end) {
      if (fill_buffer(d, length)) continue;
      d.line[length] = '\0';
      if (d.in_error != 0) fatal(d, "read error - %s", std::strerror(d.in_error));
      if (length == 0) {
        d.count--;
        return false;
      }
      glp_lib_print("c %d: warning: missing final LF", d.count);
      d.line_ended = false;
      return true;
    }
    const char c = *d.in_next++;
    if (c == '\r') continue;
    if (isComment ? c == '\n' : isOf(c, is_space)) {
      d.line_ended = c == '\n';
      break;
    }
    if (isOf(c, is_control)) fatal(d, "invalid control character 0x%02X", unsigned(c));
  }
  d.line[length] = '\0';
  return true;
}

/// Skips a comment that the current word opened. A comment is one line: when the word was the last
/// of its line there is nothing left to skip, but it counts all the same. \return false at the end
/// of input.
bool skip_comment(dsa& d) {
  d.line[0] = '\0';
  d.pos = 0;
  if (d.line_ended) {
    raise_count(d);
    return true;
  }
  return read_line(d, true);
}

// ------------------------------------------------------------------------------------------------
// Tokens

/// Appends `line[pos]` to the image, which must have room for it, and advances.
void add_char(dsa& d) {
  insist(d.imlen < max_image_length);
  d.image[d.imlen++] = d.line[d.pos++];
  d.image[d.imlen] = '\0';
}

/// Takes the whole word as `keyword` if it is that in upper or lower case.
bool scan_keyword(dsa& d, const char* keyword) {
  insist(d.pos == 0);
  int length = 0;
  for (; keyword[length] != '\0'; length++)
    if (lowered(d.line[length]) != keyword[length]) return false;
  if (d.line[length] != '\0') return false;
  while (d.pos < length) add_char(d);
  return true;
}

void scan_name(dsa& d) {
  while (isOf(d.line[d.pos], is_letter | is_digit | is_mark)) {
    add_char(d);
    if (d.imlen > lpt_name_length) {
      d.image[lpt_name_length] = '\0';
      fatal(d, "c name `%s...' too long > %d characters", d.image, lpt_name_length);
    }
  }
  d.token = T_NAME;
}

[[noreturn]] void number_out_of_range(dsa& d) {
  fatal(d, "numeric constant `%s' out of range (%d)", d.image, INT_MAX);
}

void add_number_char(dsa& d) {
  if (d.imlen == max_image_length) number_out_of_range(d);
  add_char(d);
}

void add_digits(dsa& d) {
  while (isOf(d.line[d.pos], is_digit)) add_number_char(d);
}

/// Takes all that looks like a number, so that a fraction or an exponent is reported as a whole
/// although only plain integers are accepted.
void scan_number(dsa& d) {
  add_digits(d);
  if (d.line[d.pos] == '.') {
    add_number_char(d);
    if (d.imlen == 1 && !isOf(d.line[d.pos], is_digit)) fatal(d, "invalid use of decimal point");
    add_digits(d);
  }
  if (d.line[d.pos] == 'e' || d.line[d.pos] == 'E') {
    add_number_char(d);
    if (d.line[d.pos] == '+' || d.line[d.pos] == '-') add_number_char(d);
    if (!isOf(d.line[d.pos], is_digit)) fatal(d, "numeric constant `%s' incomplete", d.image);
    add_digits(d);
  }
  if (glp_lib_str2int(d.image, &d.value) != 0) number_out_of_range(d);
  d.token = T_NUMBER;
}

void scan_symbol(dsa& d) {
  const char first = d.line[d.pos];
  const char second = d.line[d.pos + 1];
  bool has_two = false;
  switch (first) {
  case '+':
    d.token = T_PLUS;
    break;
  case '-':
    d.token = T_MINUS;
    break;
  case '*':
    d.token = T_ASTERISK;
    break;
  case ':':
    d.token = T_COLON;
    break;
  case ';':
    d.token = T_SEMICOLON;
    break;
  case '<':
    d.token = T_LE;
    has_two = second == '=';
    break;
  case '>':
    d.token = T_GE;
    has_two = second == '=';
    break;
  case '=':
    d.token = second == '<' ? T_LE : second == '>' ? T_GE : T_EQ;
    has_two = d.token != T_EQ;
    break;
  default:
    fatal(d, "character `%c' not recognized", first);
  }
  add_char(d);
  if (has_two) add_char(d);
}

/// Goes on to the next token of the input, skipping comments.
void scan_token(dsa& d) {
  d.token = T_NONE;
  d.image[0] = '\0';
  d.imlen = 0;
  d.value = 0;
  for (;;) {
    while (d.line[d.pos] == '\0') {
      if (!read_line(d, false)) {
        d.token = T_EOF;
        return;
      }
    }
    if (d.pos == 0 && isOf(d.line[0], is_letter)) {
      const char initial = lowered(d.line[0]);
      for (const Lexeme& keyword : keywords) {
        if (keyword.text[0] == initial && scan_keyword(d, keyword.text)) {
          d.token = keyword.token;
          return;
        }
      }
    }
    if (d.line[d.pos] != '\\' && !(d.line[d.pos] == '*' && d.pos == 0)) break;
    if (!skip_comment(d)) {
      d.token = T_EOF;
      return;
    }
  }
  const char first = d.line[d.pos];
  if (first == '.' || isOf(first, is_digit)) {
    scan_number(d);
  } else if (isOf(first, is_letter | is_mark)) {
    scan_name(d);
  } else {
    scan_symbol(d);
  }
}

// ------------------------------------------------------------------------------------------------
// Plain terms. They are looked for ahead of the parser, and the memory is told which names are
// going to be looked up: were each look-up to wait for the memory, loading would do little else.

/// Looks the next word over. It is a plain term, which is noted, or passed. \return false if it may
/// go on beyond the buffer.
bool look_ahead(dsa& d) {
  const char* next = d.seen;
  PlainTerm& term = d.terms[d.last_term % terms_in_sight];
  term.start = next;
  bool is_plain = *next == '+' || *next == '-';
  if (is_plain) {
    const int sign = *next++ == '-' ? -1 : 1;
    term.coef = sign;
    if (isOf(*next, is_digit)) {
      const char* const too_far = next + max_plain_digits;
      int value = 0;
      do value = 10 * value + (*next++ - '0');
      while (next < too_far && isOf(*next, is_digit));
      term.coef = sign * value;
      is_plain = *next == '*';
      if (is_plain) next++;
    }
    term.name = next;
    is_plain = is_plain && *next != '.' && isOf(*next, is_letter | is_mark);
    while (isOf(*next, is_letter | is_digit | is_mark)) next++;
    term.end = next;
    is_plain = is_plain && isOf(*next, is_space) && next - term.name <= lpt_name_length;
  }
  while (!isOf(*next, is_space | is_control)) next++;
  d.seen = next;
  if (next == d.in_end) return false; // nor is there anything to see until the buffer is refilled
  d.seen++;
  if (is_plain) {
    term.code = glp_avl_code(term.name, term.length());
    glp_avl_expect(d.tcol, term.code);
    d.last_term++;
  }
  return true;
}

/// Takes the input's next word if it is a plain term and all there. \return null, with nothing
/// done, if it is not.
const PlainTerm* take_plain_term(dsa& d) {
  if (d.seen < d.in_next) d.seen = d.in_next;
  while (d.first_term != d.last_term && d.terms[d.first_term % terms_in_sight].start < d.in_next)
    d.first_term++; // passed otherwise
  while (d.last_term - d.first_term < terms_in_sight && look_ahead(d)) {
  }
  if (d.first_term == d.last_term) return nullptr;
  const PlainTerm* const term = &d.terms[d.first_term % terms_in_sight];
  if (term->start != d.in_next) return nullptr;
  d.first_term++;
  return term;
}

/// Goes on to the next token where a term may follow. A plain term is one token here, not all those
/// that it consists of; everything else is as with `scan_token`.
void scan_form_token(dsa& d) {
  if (d.line[d.pos] == '\0') {
    const PlainTerm* const term = take_plain_term(d);
    if (term != nullptr) {
      if (stop_signal != 0) interrupt(d);
      raise_count(d);
      d.term = term;
      d.token = T_TERM;
      d.line_ended = *term->end == '\n';
      d.in_next += term->end + 1 - term->start;
      d.line = d.in_next - 1;
      *d.line = '\0';
      d.pos = 0;
      return;
    }
  }
  scan_token(d);
}

// ------------------------------------------------------------------------------------------------
// The parser. Each function finds its first token scanned and leaves the one behind its text
// scanned.

void copy_name(char (&name)[lpt_name_length + 1], const dsa& d) {
  insist(d.imlen >= 1 && d.imlen <= lpt_name_length);
  std::memcpy(name, d.image, static_cast<size_t>(d.imlen) + 1);
}

/// Whether the current token names what follows, rather than a variable.
bool at_label(const dsa& d) {
  return d.token == T_NAME && d.line[d.pos] == ':';
}

/// Goes past a label that the caller has noted.
void skip_label(dsa& d) {
  scan_token(d);
  insist(d.token == T_COLON);
  scan_token(d);
}

/// Goes past a sign if there is one.
/// \return -1 after "-", otherwise 1.
int parse_optional_sign(dsa& d) {
  const int sign = d.token == T_MINUS ? -1 : 1;
  if (d.token == T_PLUS || d.token == T_MINUS) scan_token(d);
  return sign;
}

/// The column called `name`; the first occurrence of a name creates it.
ReaderColumn* find_col(dsa& d, const char* name, size_t length, std::uint64_t code) {
  void* const known = glp_avl_find_by_code(d.tcol, name, code);
  if (known != nullptr) return static_cast<ReaderColumn*>(known);

  LPT* const lpt = d.lpt;
  if (lpt->n == INT_MAX) glp_lib_too_large();
  ReaderColumn* const col =
      new (glp_dmp_get_atomv(lpt->col_pool, sizeof(ReaderColumn))) ReaderColumn;
  std::memcpy(col->name, name, length + 1);
  col->j = ++lpt->n;
  col->kind = LPT_BIN;
  col->lb = 0;
  col->ub = 1;
  col->next = nullptr;
  (lpt->last_col == nullptr ? lpt->first_col : lpt->last_col->next) = col;
  lpt->last_col = col;
  glp_avl_insert_by_code(d.tcol, col, code);
  return col;
}

/// Adds `coef` to the coefficient of `element`.
void merge(dsa& d, LPTLFE* element, int coef) {
  const int64 sum = static_cast<int64>(element->coef) + coef;
  if (sum < INT_MIN || sum > INT_MAX) {
    glp_lib_print("c sum of numeric constants out of range [0]");
    fatal(d, "c number out of RANGE");
  }
  element->coef = static_cast<int>(sum);
}

/// A linear form as far as it has been parsed. To tell which columns it has, a short form notes
/// their signatures and does not touch them, for they are all over the memory. A long form marks
/// its columns.
struct Form {
  LPTLFE* first = nullptr;
  LPTLFE* last = nullptr;
  int length = 0;
  std::uint64_t signatures = 0;
  bool isLong() const { return length > longest_short_form; }
};

/// A bit that stands for the column, and for others.
std::uint64_t signature(const ReaderColumn* col) {
  return std::uint64_t{1} << reinterpret_cast<std::uintptr_t>(col) / sizeof(ReaderColumn) % 64;
}

void mark(LPTLFE* element) {
  ReaderColumn* const col = static_cast<ReaderColumn*>(element->col);
  col->j = -col->j;
  col->element = element;
}

/// The element with this column, or null.
LPTLFE* find_element(const Form& form, const ReaderColumn* col) {
  if (form.isLong()) return col->j < 0 ? col->element : nullptr;
  if ((form.signatures & signature(col)) == 0) return nullptr;
  LPTLFE* element = form.first;
  while (element != nullptr && element->col != col) element = element->next;
  return element;
}

/// Adds a term to the form.
// cppcheck-suppress constParameter ; it changes in the conditional assignment, too
void add_term(dsa& d, Form& form, int coef, ReaderColumn* col) {
  LPTLFE* const known = find_element(form, col);
  if (known != nullptr) {
    merge(d, known, coef);
    return;
  }
  LPTLFE* const element =
      new (glp_dmp_get_atomv(d.lpt->pool, sizeof(LPTLFE))) LPTLFE{coef, col, nullptr};
  (form.last == nullptr ? form.first : form.last->next) = element;
  form.last = element;
  form.signatures |= signature(col);
  const bool was_long = form.isLong();
  form.length++;
  if (was_long) {
    mark(element);
  } else if (form.isLong()) {
    for (LPTLFE* e = form.first; e != nullptr; e = e->next) mark(e);
  }
}

/// Takes the marks off the columns of a form.
void release_columns(const Form& form) {
  if (!form.isLong()) return;
  for (LPTLFE* element = form.first; element != nullptr; element = element->next)
    element->col->j = -element->col->j;
}

/// Parses a linear form and merges the terms on the same column.
/// \return the form's first element, or null if the form lacks a term at its start or after a sign.
LPTLFE* parse_linear_form(dsa& d) {
  Form form;
  // cppcheck-suppress variableScope ; the loop's own condition cannot see into its body
  bool complete = false;
  do {
    complete = true;
    if (d.token == T_TERM) {
      const PlainTerm& term = *d.term;
      add_term(d, form, term.coef, find_col(d, term.name, term.length(), term.code));
    } else {
      const int sign = parse_optional_sign(d);
      int coef = sign;
      if (d.token == T_NUMBER) {
        coef = sign * d.value;
        scan_token(d);
        if (d.token != T_ASTERISK) fatal(d, "expecting '*' instead of %s", d.image);
        scan_token(d);
      }
      complete = d.token == T_NAME;
      if (!complete) break;
      const size_t length = static_cast<size_t>(d.imlen);
      add_term(d, form, coef, find_col(d, d.image, length, glp_avl_code(d.image, length)));
    }
    scan_form_token(d);
  } while (d.token == T_TERM || d.token == T_PLUS || d.token == T_MINUS);

  release_columns(form);
  return complete ? form.first : nullptr;
}

void parse_objective(dsa& d) {
  insist(d.token == T_MINIMIZE || d.token == T_MAXIMIZE);
  d.lpt->sense = d.token == T_MINIMIZE ? LPT_MIN : LPT_MAX;
  scan_token(d);
  if (at_label(d)) {
    copy_name(d.lpt->name, d);
    skip_label(d);
  } else {
    std::strcpy(d.lpt->name, "obj");
  }
  d.lpt->obj = parse_linear_form(d);
}

/// The row called `name`, or null.
void* find_row(dsa& d, const char* name) {
  // Where no row is given a name, none is looked for. So the index follows when it is asked.
  for (; d.unindexed != nullptr; d.unindexed = d.unindexed->next)
    glp_avl_insert_by_key(d.trow, d.unindexed);
  return glp_avl_find_by_key(d.trow, name);
}

/// Parses one row up to and including its semicolon, behind which the next token is scanned.
void parse_row(dsa& d) {
  LPT* const lpt = d.lpt;
  if (lpt->m == INT_MAX) glp_lib_too_large();
  LPTROW* const row = new (glp_dmp_get_atomv(lpt->pool, sizeof(LPTROW))) LPTROW;
  row->i = ++lpt->m;
  row->next = nullptr;

  if (at_label(d)) {
    copy_name(row->name, d);
    if (find_row(d, row->name) != nullptr) fatal(d, "constraint `%s' multiply defined", row->name);
    skip_label(d);
  } else {
    std::memcpy(row->name, "r.", 2);
    *std::to_chars(row->name + 2, row->name + lpt_name_length, d.count).ptr = '\0';
  }

  row->ptr = parse_linear_form(d);
  if (row->ptr == nullptr) fatal(d, "missing variable name");

  switch (d.token) {
  case T_LE:
    row->sense = LPT_LE;
    break;
  case T_GE:
    row->sense = LPT_GE;
    break;
  case T_EQ:
    row->sense = LPT_EQ;
    break;
  default:
    fatal(d, "missing constraint sense");
  }
  scan_token(d);

  const int sign = parse_optional_sign(d);
  if (d.token != T_NUMBER) fatal(d, "missing right-hand side");
  row->rhs = sign * d.value;

  (lpt->last_row == nullptr ? lpt->first_row : lpt->last_row->next) = row;
  lpt->last_row = row;
  if (d.unindexed == nullptr) d.unindexed = row;

  scan_token(d);
  if (d.token != T_SEMICOLON) fatal(d, "expecting ';'");
  const char behind = d.line[d.pos];
  if (behind != '\0' && behind != '\\' && behind != ';')
    fatal(d, "invalid symbol(s) beyond right-hand side");
  scan_form_token(d);
}

/// Parses all rows, of which there must be one.
void parse_constraints(dsa& d) {
  if (d.token == T_SEMICOLON) scan_token(d); // ends the objective
  do parse_row(d);
  while (d.token == T_TERM || d.token == T_NAME || d.token == T_NUMBER || d.token == T_PLUS ||
         d.token == T_MINUS);
}

void parse_problem(dsa& d) {
  scan_token(d);
  if (d.token == T_MINIMIZE || d.token == T_MAXIMIZE) parse_objective(d);
  parse_constraints(d);
  if (d.token == T_END) {
    scan_token(d);
    if (d.token != T_EOF) fatal(d, "extra symbol(s) detected beyond `end'");
  } else if (d.token != T_EOF) {
    fatal(d, "symbol `%s' in wrong position", d.image);
  }
}

/// The place to which errors jump. It has no variables of its own that a jump could spoil.
/// \return false if there was an error.
bool parsed(dsa& d) {
  if (setjmp(d.jump) != 0) return false;
  parse_problem(d);
  return true;
}

} // namespace

LPT* glp_lpt_read_prob(std::FILE* in) {
  dsa d; // the long buffer stays as it is: it is written before it is read
  d.in = in;
  d.in_ended = false;
  d.in_error = 0;
  d.seen = d.in_next = d.in_end = d.line = d.buffer;
  d.first_term = d.last_term = 0;
  d.buffer[0] = '\0';
  d.lpt = new (glp_lib_umalloc(sizeof(LPT))) LPT{};
  d.lpt->pool = glp_dmp_create_pool(0);
  d.lpt->col_pool = glp_dmp_create_pool(0);
  d.trow = glp_avl_create_tree(glp_avl_strcmp);
  d.tcol = glp_avl_create_tree(glp_avl_strcmp);
  d.unindexed = nullptr;
  d.count = 0;
  d.line_ended = false;
  d.pos = 0;
  d.token = T_NONE;
  d.imlen = 0;
  d.value = 0;
  d.image[0] = '\0';

  LPT* lpt = d.lpt;
  if (!parsed(d)) {
    glp_lpt_free_prob(lpt);
    lpt = nullptr;
  }
  glp_avl_delete_tree(d.trow);
  glp_avl_delete_tree(d.tcol);
  return lpt;
}

LPT* glp_lpt_read_prob() {
  return glp_lpt_read_prob(stdin);
}

LPTROW* glp_lpt_next_row(LPT* lpt) {
  LPTROW* const row = lpt->first_row;
  if (row == nullptr) return nullptr;
  glp_dmp_release_before(lpt->pool, row);
  lpt->obj = nullptr;
  lpt->first_row = row->next;
  if (row->next == nullptr) lpt->last_row = nullptr;
  return row;
}

void glp_lpt_free_prob(LPT* lpt) {
  glp_dmp_delete_pool(lpt->pool);
  glp_dmp_delete_pool(lpt->col_pool);
  glp_lib_ufree(lpt);
}
