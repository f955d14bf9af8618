/// \file
/// A proof's file as a stream, unpacked on the way.
#ifndef QUILLON_CHECKER_PROOF_FILE_H
#define QUILLON_CHECKER_PROOF_FILE_H

#include <cstdio>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

/// Reads a file from begin to end, in memory that does not grow with it. One that begins as gzip,
/// bzip2 or xz data do is unpacked. What is damaged or cut short is an exception, which a stream
/// turns into its bad state.
class ProofFile : public std::streambuf {
 public:
  /// Turns packed bytes into plain ones.
  class Unpacker {
   public:
    virtual ~Unpacker() = default;
    /// Takes from `in` and writes to `out` what it can; the counts become what is left of each.
    /// Whether this is the end of a packed stream. Throws when the data is bad.
    virtual bool step(const char* in, std::size_t& in_count, char* out, std::size_t& out_count) = 0;
    /// Another stream begins behind the last one.
    virtual void restart() = 0;
  };

  /// "-" is standard input.
  explicit ProofFile(const std::string& path);
  ~ProofFile() override;
  ProofFile(const ProofFile&) = delete;
  ProofFile& operator=(const ProofFile&) = delete;

  /// Whether the file could be opened.
  bool isOpen() const { return file != nullptr; }

 protected:
  int_type underflow() override;

 private:
  std::FILE* file;
  bool has_begun = false;
  std::unique_ptr<Unpacker> unpacker; ///< null if the file is plain
  bool between = false;               ///< whether a packed stream has ended, and no other begun
  std::vector<char> packed;
  std::vector<char> plain;
  const char* next = nullptr; ///< what of `packed` has not been used
  std::size_t left = 0;

  bool refill();
};

#endif
