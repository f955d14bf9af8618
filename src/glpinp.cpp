// See glpinp.h. The buffer holds the current word and what has been read ahead; words are taken
// where they lie.
#include "glpinp.h"

#include "Global.h"
#include "Interrupt.h"
#include "glpchr.h"
#include "glplib.h"
#include "glplpt.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <poll.h>
#include <unistd.h>

using namespace quillon;

namespace glp {

namespace {

constexpr int max_word_length = 131071;
constexpr int max_message_length = 4095;
/// What a pipe holds. Blocks of 4 kB to 256 kB were equally fast.
constexpr size_t input_block = 65536;
/// Room for all that `fillBuffer` keeps, and a block behind it.
constexpr size_t input_buffer = size_t{2} * max_word_length + input_block;

/// Waits until there is something to read. A signal that sets `stop_signal` ends the wait even if
/// it comes just before, because outside the wait itself signals are held back.
void awaitInput(int fd) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, &before);
  pollfd input{fd, POLLIN, 0};
  while (stop_signal == 0 && ppoll(&input, 1, nullptr, &before) < 0 && errno == EINTR) {
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

// The buffer is too large for a stack that may be short.
Input::Input(std::FILE* file, const AVLTREE* index)
    : in(file), names(index), buffer(static_cast<char*>(glp_lib_umalloc(input_buffer + 1))) {
  *buffer = '\0';
}

Input::~Input() {
  glp_lib_ufree(buffer);
}

/// Ends the read without a word, because a signal asks the program to wind up.
void Input::interrupt() {
  std::longjmp(way_out, 1);
}

void Input::fatal(const char* fmt, ...) {
  char message[max_message_length + 1];
  va_list arg;
  va_start(arg, fmt);
  std::vsnprintf(message, sizeof message, fmt, arg);
  va_end(arg);
  glp_lib_print("c %d: %s", words, message);
  std::longjmp(way_out, 1);
}

// ------------------------------------------------------------------------------------------------
// Words

/// Reads the next block behind what there is of the current word, `length` characters, which move
/// to the front of the buffer. They stay where they are if they are more than all before them, so
/// that moving costs no more than reading has. \return false at the end of input and on an error.
bool Input::fillBuffer(size_t length) {
  if (in_ended) return false;
  if (length <= static_cast<size_t>(line - buffer)) {
    std::memcpy(buffer, line, length);
    line = buffer;
  }
  seen = in_next = in_end = line + length;
  first_term = last_term;
  insist(buffer + input_buffer - in_end >= static_cast<std::ptrdiff_t>(input_block));
  size_t filled = 0;
  const int fd = fileno(in);
  if (fd < 0) { // not a file of the system's
    filled = std::fread(in_end, 1, input_block, in);
    if (filled == 0 && std::ferror(in)) in_error = errno;
  } else {
    ssize_t got;
    do {
      awaitInput(fd);
      if (stop_signal != 0) interrupt();
      got = read(fd, in_end, input_block);
    } while (got < 0 && errno == EINTR);
    if (got < 0) in_error = errno;
    if (got > 0) filled = static_cast<size_t>(got);
  }
  if (stop_signal != 0) interrupt();
  in_end += filled;
  *in_end = '\0';
  in_ended = filled == 0;
  return !in_ended;
}

void Input::raiseCount() {
  if (words == INT_MAX) glp_lib_too_large();
  words++;
}

/// Makes the next word the current one, or, with `is_comment`, skips the rest of the input line.
/// Characters that are dropped leave no gap: the word closes up in place.
bool Input::takeLine(bool is_comment) {
  if (stop_signal != 0) interrupt();
  raiseCount();
  line = in_next;
  size_t length = 0;
  for (;;) {
    const char* const run = in_next; // of characters to be stored
    in_next += endOfRun(run) - run;
    if (!is_comment) {
      const size_t run_length = static_cast<size_t>(in_next - run);
      if (line + length != run) std::memmove(line + length, run, run_length);
      length += run_length;
      if (length > max_word_length) fatal("word length exceeds %d characters", max_word_length);
    }
    if (in_next == in_end) {
      if (fillBuffer(length)) continue;
      line[length] = '\0';
      if (in_error != 0) fatal("read error - %s", std::strerror(in_error));
      if (length == 0) {
        words--;
        return false;
      }
      glp_lib_print("c %d: warning: missing final LF", words);
      line_ended = false;
      return true;
    }
    const char c = *in_next++;
    if (c == '\r') continue;
    if (is_comment ? c == '\n' : isOf(c, is_space)) {
      line_ended = c == '\n';
      break;
    }
    if (isOf(c, is_control)) fatal("invalid control character 0x%02X", unsigned(c));
  }
  line[length] = '\0';
  return true;
}

bool Input::skipComment() {
  *line = '\0';
  if (!line_ended) return takeLine(true);
  // A comment is one line. When the word was the last of its line there is nothing left to skip,
  // but it counts all the same.
  raiseCount();
  return true;
}

// ------------------------------------------------------------------------------------------------
// Plain terms. They are looked for ahead, and the memory is told which names are going to be looked
// up: were each look-up to wait for the memory, loading would do little else.

namespace {

/// Whether a plain term begins at `text`, where white space went before; it goes to `term`.
inline bool readPlainTerm(const char* text, PlainTerm& term) {
  const int sign = signOf(*text);
  if (sign == 0) return false;
  term.start = text++;
  term.coef = sign;
  if (isOf(*text, is_digit)) {
    std::int64_t number;
    const char* const behind = readDigits(text, INT_MAX, number);
    if (behind == nullptr || *behind != '*' || behind - text > longest_number) return false;
    term.coef = sign * static_cast<int>(number);
    text = behind + 1;
  }
  if (!beginsName(*text)) return false;
  term.name = text;
  term.end = behindName(text);
  return isOf(*term.end, is_space) && term.length() <= lpt_name_length;
}

} // namespace

/// Looks the next word over. It is a plain term, which is noted, or passed. \return false if it may
/// go on beyond the buffer.
inline bool Input::lookAhead() {
  PlainTerm& term = terms[last_term % terms_in_sight];
  if (readPlainTerm(seen, term)) {
    term.code = glp_avl_code(term.name, term.length());
    glp_avl_expect(names, term.code);
    last_term++;
    seen = term.end + 1;
    return true;
  }
  seen = endOfRun(seen);
  if (seen == in_end) return false; // nor is there anything to see until the buffer is refilled
  seen++;
  return true;
}

/// The next word if it is a plain term and all there, or null.
inline const PlainTerm* Input::nextTerm() {
  if (seen < in_next) seen = in_next;
  while (first_term != last_term && terms[first_term % terms_in_sight].start < in_next)
    first_term++; // passed otherwise
  while (last_term - first_term < terms_in_sight && lookAhead()) {
  }
  if (first_term == last_term) return nullptr;
  const PlainTerm* const term = &terms[first_term % terms_in_sight];
  return term->start == in_next ? term : nullptr;
}

const PlainTerm* Input::takeTerm() {
  const PlainTerm* const term = nextTerm();
  if (term == nullptr) return nullptr;
  if (stop_signal != 0) interrupt();
  raiseCount();
  first_term++;
  line = in_next + (term->end - term->start);
  line_ended = *line == '\n';
  in_next = line + 1;
  *line = '\0';
  return term;
}

} // namespace glp
