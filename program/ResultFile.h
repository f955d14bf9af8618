/// \file
/// A file that is opened at once, so that a wrong name is known before the search, and written at
/// the end.
#ifndef QUILLON_PROGRAM_RESULT_FILE_H
#define QUILLON_PROGRAM_RESULT_FILE_H

#include <cstdio>
#include <memory>
#include <new>
#include <string>

class ResultFile {
  struct Closer {
    void operator()(std::FILE* open_file) const { std::fclose(open_file); }
  };
  std::string path;
  std::unique_ptr<std::FILE, Closer> file;

  void complain(const char* reason) const noexcept;

 public:
  /// No file if `name` is empty. Ends the process with `process::exit_no_output` if it cannot be
  /// opened.
  explicit ResultFile(const std::string& name);
  /// Whether there is a file to be written.
  bool isWanted() const { return file != nullptr; }
  /// Makes what `text()` returns the whole of the file, and closes it. False, after a message, when
  /// that cannot be, also for want of memory. Without a file nothing happens.
  template <class Text> [[nodiscard]] bool write(const Text& text) {
    if (!isWanted()) return true;
    try {
      return put(text());
    } catch (const std::bad_alloc&) {
      complain("memory exhausted");
    }
    return false;
  }

 private:
  bool put(const std::string& text);
};

#endif
