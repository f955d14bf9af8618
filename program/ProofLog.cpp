/// \file
/// The proof file; what happens when it cannot be written.
#include "ProofLog.h"

#include "process/Program.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>

namespace {
constexpr std::string_view last_step = "end pseudo-Boolean proof";
} // namespace

ProofLog::ProofLog(const std::string& name, const Statement& about, estoc::ProofVersion in)
    : path(name), file(name), statement(about), version(in) {
  if (!file.hasFailed()) return;
  process::complain(path + ": " + std::strerror(errno));
  process::endNow(process::exit_no_output);
}

void ProofLog::write(const char* bytes, std::size_t size) {
  const std::lock_guard lock(mutex);
  if (is_ended) return;
  file.write(bytes, size);
  const std::string_view written(bytes, size);
  const std::size_t tail = last_step.size() + 4; // a separator and the end of the line follow
  has_conclusion = written.substr(size - std::min(size, tail)).find(last_step) != written.npos;
}

void ProofLog::closeFile() {
  is_ended = true;
  file.close();
  if (file.hasFailed()) process::complain(path + ": the proof could not be written");
}

void ProofLog::close() {
  const std::lock_guard lock(mutex);
  if (!is_ended) closeFile();
}

void ProofLog::abandon() {
  const std::unique_lock lock(mutex, std::chrono::milliseconds(200));
  if (lock.owns_lock() && is_ended) return;
  if (!lock.owns_lock() || !has_conclusion)
    process::complain(path + ": the proof breaks off, and concludes nothing");
  if (!lock.owns_lock()) return;
  const bool lines = version == estoc::ProofVersion::v2;
  const std::string end = lines ? "output NONE\nconclusion NONE\nend pseudo-Boolean proof\n"
                                : "output NONE;\nconclusion NONE;\nend pseudo-Boolean proof;\n";
  if (!has_conclusion) file.write(end.data(), end.size()); // the engine hands over whole steps
  closeFile();
}
