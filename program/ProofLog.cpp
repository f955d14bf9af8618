/// \file
/// The proof file; what happens when it cannot be written.
#include "ProofLog.h"

#include "process/Program.h"

#include <cerrno>
#include <cstring>

ProofLog::ProofLog(const std::string& name, const Statement& about, estoc::ProofVersion in)
    : path(name), file(name), statement(about), version(in) {
  if (!file.hasFailed()) return;
  process::complain(path + ": " + std::strerror(errno));
  process::endNow(process::exit_no_output);
}

void ProofLog::write(const char* bytes, std::size_t size) {
  file.write(bytes, size);
}

void ProofLog::close() {
  file.close();
  if (file.hasFailed()) process::complain(path + ": the proof could not be written");
}

void ProofLog::abandon() {
  const bool lines = version == estoc::ProofVersion::v2;
  const std::string end = lines ? "output NONE\nconclusion NONE\nend pseudo-Boolean proof\n"
                                : "output NONE;\nconclusion NONE;\nend pseudo-Boolean proof;\n";
  write(end.data(), end.size()); // the engine hands over whole steps
  close();
}
