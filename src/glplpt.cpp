// See glplpt.h. Words come from the input, make tokens, and a recursive-descent parser, whose
// grammar does not nest, makes rows of the tokens. The first error ends the read from wherever it
// is noticed by a jump back to the entry point; everything allocated hangs on the reader's state,
// so nothing is lost on the way. Functions that a jump may leave therefore keep no object with a
// destructor.
//
// Time is linear in the length of the input.
#include "glplpt.h"

#include "Global.h"
#include "glpavl.h"
#include "glpchr.h"
#include "glpinp.h"
#include "glplib.h"

#include <algorithm>
#include <charconv>
#include <csetjmp>
#include <cstring>

namespace glp {

namespace {

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
  T_SIGN,
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

constexpr int max_image_length = longest_number;
static_assert(max_image_length > lpt_name_length);
/// As many terms as there are signatures. Rows of 40 terms load in 0.75 of the time that they take
/// when forms are long from 20 terms on, rows of 60 in 0.85, and those of 150 in the same; with
/// forms short up to 256 terms, these take 1.3 times as long.
constexpr int longest_short_form = 64;

/// A column with what the reader alone needs to know of it.
struct ReaderColumn : LPTCOL {
  /// The column's element in the form being parsed; holds only while the column is marked, that is,
  /// while `j` is negative. Saves a walk along the form for every repetition.
  LPTLFE* element;
};

/// The working state of one read.
struct dsa {
  /// The problem as far as it has been read; the caller's to release.
  LPT* const lpt = new (glp_lib_umalloc(sizeof(LPT))) LPT{};
  /// Row names, but not those from `unindexed` on; if that is null, all.
  AVLTREE* const trow = glp_avl_create_tree(glp_avl_strcmp);
  LPTROW* unindexed = nullptr;
  /// Column names.
  AVLTREE* const tcol = glp_avl_create_tree(glp_avl_strcmp);

  Input input;
  int pos = 0; ///< of the next unread character in the current word

  // The current token:
  Token token = T_NONE;
  int value = 0;                         ///< a number's, or 1 or -1 for a sign
  const PlainTerm* term = nullptr;       ///< if it is one
  char image[max_image_length + 1] = ""; ///< its text, unless it is a term
  int imlen = 0;

  explicit dsa(std::FILE* in) : input(in, tcol) {
    lpt->pool = glp_dmp_create_pool(0);
    lpt->col_pool = glp_dmp_create_pool(0);
  }
  ~dsa() {
    glp_avl_delete_tree(trow);
    glp_avl_delete_tree(tcol);
  }
  dsa(const dsa&) = delete;
  dsa& operator=(const dsa&) = delete;

  /// What is left of the current word.
  const char* rest() const { return input.word() + pos; }
  char next() const { return *rest(); }
};

// ------------------------------------------------------------------------------------------------
// Tokens

/// Moves the next `n` characters of the word to the end of the image, which must have room.
void take_chars(dsa& d, int n) {
  insist(n <= max_image_length - d.imlen);
  std::memcpy(d.image + d.imlen, d.rest(), static_cast<size_t>(n));
  d.pos += n;
  d.imlen += n;
  d.image[d.imlen] = '\0';
}

/// Takes the whole word as `keyword` if it is that in upper or lower case.
bool scan_keyword(dsa& d, const char* keyword) {
  insist(d.pos == 0);
  const char* const word = d.input.word();
  int length = 0;
  for (; keyword[length] != '\0'; length++)
    if (lowered(word[length]) != keyword[length]) return false;
  if (word[length] != '\0') return false;
  take_chars(d, length);
  return true;
}

void scan_name(dsa& d) {
  const std::ptrdiff_t length = behindName(d.rest()) - d.rest();
  take_chars(d, static_cast<int>(std::min<std::ptrdiff_t>(length, lpt_name_length)));
  if (length > lpt_name_length)
    d.input.fatal("c name `%s...' too long > %d characters", d.image, lpt_name_length);
  d.token = T_NAME;
}

[[noreturn]] void number_out_of_range(dsa& d) {
  d.input.fatal("numeric constant `%s' out of range (%d)", d.image, INT_MAX);
}

/// Takes what lies before `end` as a part of a number.
void add_to_number(dsa& d, const char* end) {
  const std::ptrdiff_t length = end - d.rest();
  const int room = longest_number - d.imlen;
  take_chars(d, static_cast<int>(std::min<std::ptrdiff_t>(length, room)));
  if (length > room) number_out_of_range(d);
}

/// Takes all that looks like a number, so that a fraction or an exponent is reported as a whole
/// although only plain integers are accepted.
void scan_number(dsa& d) {
  add_to_number(d, behindDigits(d.rest()));
  if (d.next() == '.') {
    add_to_number(d, d.rest() + 1);
    if (d.imlen == 1 && !isOf(d.next(), is_digit)) d.input.fatal("invalid use of decimal point");
    add_to_number(d, behindDigits(d.rest()));
  }
  if (d.next() == 'e' || d.next() == 'E') {
    add_to_number(d, d.rest() + 1);
    if (signOf(d.next()) != 0) add_to_number(d, d.rest() + 1);
    if (!isOf(d.next(), is_digit)) d.input.fatal("numeric constant `%s' incomplete", d.image);
    add_to_number(d, behindDigits(d.rest()));
  }
  if (glp_lib_str2int(d.image, &d.value) != 0) number_out_of_range(d);
  d.token = T_NUMBER;
}

void scan_symbol(dsa& d) {
  const char first = d.rest()[0];
  const char second = d.rest()[1];
  bool has_two = false;
  switch (first) {
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
    d.value = signOf(first);
    if (d.value == 0) d.input.fatal("character `%c' not recognized", first);
    d.token = T_SIGN;
  }
  take_chars(d, has_two ? 2 : 1);
}

/// Goes on to the next token of the input, skipping comments.
void scan_token(dsa& d) {
  d.token = T_NONE;
  d.image[0] = '\0';
  d.imlen = 0;
  d.value = 0;
  for (;;) {
    while (d.next() == '\0') {
      d.pos = 0;
      if (!d.input.takeWord()) {
        d.token = T_EOF;
        return;
      }
    }
    if (d.pos == 0 && isOf(d.next(), is_letter)) {
      const char initial = lowered(d.next());
      for (const Lexeme& keyword : keywords) {
        if (keyword.text[0] == initial && scan_keyword(d, keyword.text)) {
          d.token = keyword.token;
          return;
        }
      }
    }
    if (d.next() != '\\' && !(d.next() == '*' && d.pos == 0)) break;
    d.pos = 0;
    if (!d.input.skipComment()) {
      d.token = T_EOF;
      return;
    }
  }
  if (beginsNumber(d.next())) {
    scan_number(d);
  } else if (beginsName(d.next())) {
    scan_name(d);
  } else {
    scan_symbol(d);
  }
}

/// Goes on to the next token where a term may follow. A plain term is one token here, not all those
/// that it consists of; everything else is as with `scan_token`.
void scan_form_token(dsa& d) {
  if (d.next() == '\0') {
    d.term = d.input.takeTerm();
    if (d.term != nullptr) {
      d.pos = 0;
      d.token = T_TERM;
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
  return d.token == T_NAME && d.next() == ':';
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
  if (d.token != T_SIGN) return 1;
  const int sign = d.value;
  scan_token(d);
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
    d.input.fatal("c number out of RANGE");
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
        if (d.token != T_ASTERISK) d.input.fatal("expecting '*' instead of %s", d.image);
        scan_token(d);
      }
      complete = d.token == T_NAME;
      if (!complete) break;
      const size_t length = static_cast<size_t>(d.imlen);
      add_term(d, form, coef, find_col(d, d.image, length, glp_avl_code(d.image, length)));
    }
    scan_form_token(d);
  } while (d.token == T_TERM || d.token == T_SIGN);

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
    if (find_row(d, row->name) != nullptr)
      d.input.fatal("constraint `%s' multiply defined", row->name);
    skip_label(d);
  } else {
    std::memcpy(row->name, "r.", 2);
    *std::to_chars(row->name + 2, row->name + lpt_name_length, d.input.count()).ptr = '\0';
  }

  row->ptr = parse_linear_form(d);
  if (row->ptr == nullptr) d.input.fatal("missing variable name");

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
    d.input.fatal("missing constraint sense");
  }
  scan_token(d);

  const int sign = parse_optional_sign(d);
  if (d.token != T_NUMBER) d.input.fatal("missing right-hand side");
  row->rhs = sign * d.value;

  (lpt->last_row == nullptr ? lpt->first_row : lpt->last_row->next) = row;
  lpt->last_row = row;
  if (d.unindexed == nullptr) d.unindexed = row;

  scan_token(d);
  if (d.token != T_SEMICOLON) d.input.fatal("expecting ';'");
  const char behind = d.next();
  if (behind != '\0' && behind != '\\' && behind != ';')
    d.input.fatal("invalid symbol(s) beyond right-hand side");
  scan_form_token(d);
}

/// Parses all rows, of which there must be one.
void parse_constraints(dsa& d) {
  if (d.token == T_SEMICOLON) scan_token(d); // ends the objective
  do parse_row(d);
  while (d.token == T_TERM || d.token == T_NAME || d.token == T_NUMBER || d.token == T_SIGN);
}

void parse_problem(dsa& d) {
  scan_token(d);
  if (d.token == T_MINIMIZE || d.token == T_MAXIMIZE) parse_objective(d);
  parse_constraints(d);
  if (d.token == T_END) {
    scan_token(d);
    if (d.token != T_EOF) d.input.fatal("extra symbol(s) detected beyond `end'");
  } else if (d.token != T_EOF) {
    d.input.fatal("symbol `%s' in wrong position", d.image);
  }
}

/// The place to which errors jump. It has no variables of its own that a jump could spoil.
/// \return false if there was an error.
bool parsed(dsa& d) {
  if (setjmp(d.input.way_out) != 0) return false;
  parse_problem(d);
  return true;
}

} // namespace

} // namespace glp

LPT* glp_lpt_read_prob(std::FILE* in) {
  glp::dsa d(in);
  if (glp::parsed(d)) return d.lpt;
  glp_lpt_free_prob(d.lpt);
  return nullptr;
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
