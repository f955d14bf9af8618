/// \file
/// Opening and writing.
#include "ResultFile.h"

#include "process/Program.h"

#include <cerrno>
#include <cstring>

ResultFile::ResultFile(const std::string& name) : path(name) {
  if (path.empty()) return;
  file.reset(std::fopen(path.c_str(), "w"));
  if (file != nullptr) return;
  complain(std::strerror(errno));
  process::endNow(process::exit_no_output);
}

void ResultFile::complain(const char* reason) const noexcept {
  try {
    process::complain(path + ": " + reason);
  } catch (const std::bad_alloc&) {
    std::fputs("estoc: a file cannot be written: memory exhausted\n", stderr);
  }
}

bool ResultFile::put(const std::string& text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  if (std::fclose(file.release()) == 0 && written) return true;
  complain(std::strerror(errno));
  return false;
}
