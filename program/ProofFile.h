/// \file
/// A file that is written piece by piece, packed if its name says so.
#ifndef QUILLON_PROGRAM_PROOF_FILE_H
#define QUILLON_PROGRAM_PROOF_FILE_H

#include <cstddef>
#include <memory>
#include <string>

/// Writes to a file whose name may end in ".gz" (gzip) or ".xz". Nothing throws but
/// `std::bad_alloc`; what cannot be written is remembered.
class ProofFile {
 public:
  /// Opens `path` for writing, an existing file is emptied; see `hasFailed`.
  explicit ProofFile(const std::string& path);
  ~ProofFile();
  ProofFile(const ProofFile&) = delete;
  ProofFile& operator=(const ProofFile&) = delete;

  void write(const char* bytes, std::size_t size);
  /// Completes the file. Nothing can be written any more.
  void close();
  /// Whether anything has gone wrong so far.
  bool hasFailed() const;

  class Packer;

 private:
  std::unique_ptr<Packer> packer; ///< null once closed
  bool failed = false;
};

#endif
