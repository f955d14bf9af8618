/// \file
/// Where the engine's proof goes.
#ifndef QUILLON_PROGRAM_PROOF_LOG_H
#define QUILLON_PROGRAM_PROOF_LOG_H

#include "ProofFile.h"
#include "Statement.h"
#include "estoc/ProofSink.h"

#include <mutex>

/// The proof file, with the statement's names. Everything but `abandon` is for one thread.
class ProofLog final : public estoc::ProofSink {
  const std::string path;
  ProofFile file;
  const Statement& statement;
  const estoc::ProofVersion version;
  std::timed_mutex mutex; ///< held while something is written
  bool is_ended = false;  ///< nothing more goes into the file
  bool has_conclusion = false;

  void closeFile();

 public:
  /// Ends the process if the file cannot be opened. `about` must last.
  ProofLog(const std::string& name, const Statement& about, estoc::ProofVersion in);

  void write(const char* bytes, std::size_t size) override;
  void appendLiteral(estoc::Lit literal, std::string& text) const override {
    statement.appendLiteral(literal, text);
  }
  std::string ownPrefix() const override { return statement.freePrefix(); }
  /// Completes the file. A complaint goes to standard error if it could not be written.
  void close();
  /// Completes the file when the engine has not come to the proof's end: the steps so far remain,
  /// with the conclusion that nothing has been shown, and a complaint says so. For any thread. The
  /// file stays as it is when it takes no more bytes, for a fifth of a second.
  void abandon();
  /// Whether anything of the proof is lost.
  bool hasFailed() const { return file.hasFailed(); }
};

#endif
