/// \file
/// The three usual compressions, piece by piece.
#include "ProofFile.h"

#include <algorithm>
#include <bzlib.h>
#include <lzma.h>
#include <new>
#include <stdexcept>
#include <string_view>
#include <zlib.h>

namespace {

constexpr std::size_t piece = std::size_t{1} << 18U;

[[noreturn]] void damaged() {
  throw std::runtime_error("damaged or cut short");
}

class Gzip final : public ProofFile::Unpacker {
  z_stream stream{};

 public:
  Gzip() {
    if (inflateInit2(&stream, 15 + 16) != Z_OK) throw std::bad_alloc(); // 16: gzip wrapping only
  }
  ~Gzip() override { inflateEnd(&stream); }
  void restart() override { inflateReset(&stream); }
  bool step(const char* in, std::size_t& in_count, char* out, std::size_t& out_count) override {
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in));
    stream.avail_in = static_cast<uInt>(in_count);
    stream.next_out = reinterpret_cast<Bytef*>(out);
    stream.avail_out = static_cast<uInt>(out_count);
    const int code = inflate(&stream, Z_NO_FLUSH);
    in_count = stream.avail_in;
    out_count = stream.avail_out;
    if (code == Z_MEM_ERROR) throw std::bad_alloc();
    if (code != Z_OK && code != Z_BUF_ERROR && code != Z_STREAM_END) damaged();
    return code == Z_STREAM_END;
  }
};

class Bzip2 final : public ProofFile::Unpacker {
  bz_stream stream{};

 public:
  Bzip2() { begin(); }
  ~Bzip2() override { BZ2_bzDecompressEnd(&stream); }
  void begin() {
    stream = {};
    if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) throw std::bad_alloc();
  }
  void restart() override {
    BZ2_bzDecompressEnd(&stream);
    begin();
  }
  bool step(const char* in, std::size_t& in_count, char* out, std::size_t& out_count) override {
    stream.next_in = const_cast<char*>(in);
    stream.avail_in = static_cast<unsigned>(in_count);
    stream.next_out = out;
    stream.avail_out = static_cast<unsigned>(out_count);
    const int code = BZ2_bzDecompress(&stream);
    in_count = stream.avail_in;
    out_count = stream.avail_out;
    if (code == BZ_MEM_ERROR) throw std::bad_alloc();
    if (code != BZ_OK && code != BZ_STREAM_END) damaged();
    return code == BZ_STREAM_END;
  }
};

class Xz final : public ProofFile::Unpacker {
  lzma_stream stream = LZMA_STREAM_INIT;

 public:
  Xz() { restart(); }
  ~Xz() override { lzma_end(&stream); }
  void restart() override {
    constexpr std::uint64_t memory = std::uint64_t{1} << 30U; // what it takes is up to the file
    if (lzma_stream_decoder(&stream, memory, 0) != LZMA_OK) throw std::bad_alloc();
  }
  bool step(const char* in, std::size_t& in_count, char* out, std::size_t& out_count) override {
    stream.next_in = reinterpret_cast<const std::uint8_t*>(in);
    stream.avail_in = in_count;
    stream.next_out = reinterpret_cast<std::uint8_t*>(out);
    stream.avail_out = out_count;
    const lzma_ret code = lzma_code(&stream, LZMA_RUN);
    in_count = stream.avail_in;
    out_count = stream.avail_out;
    if (code == LZMA_MEM_ERROR) throw std::bad_alloc();
    if (code != LZMA_OK && code != LZMA_BUF_ERROR && code != LZMA_STREAM_END) damaged();
    return code == LZMA_STREAM_END;
  }
};

/// Null if the data is plain.
std::unique_ptr<ProofFile::Unpacker> unpackerFor(std::string_view first_bytes) {
  if (first_bytes.starts_with("\x1F\x8B")) return std::make_unique<Gzip>();
  if (first_bytes.starts_with("BZh")) return std::make_unique<Bzip2>(); // no proof begins so
  if (first_bytes.starts_with("\xFD"
                              "7zXZ"))
    return std::make_unique<Xz>();
  return nullptr;
}

} // namespace

ProofFile::ProofFile(const std::string& path)
    : file(path == "-" ? stdin : std::fopen(path.c_str(), "rb")), packed(piece), plain(piece) {}

ProofFile::~ProofFile() {
  if (file != nullptr && file != stdin) std::fclose(file);
}

/// Reads the next bytes of the file if none are left; whether there are any.
bool ProofFile::refill() {
  if (left != 0) return true;
  next = packed.data();
  left = std::fread(packed.data(), 1, packed.size(), file);
  if (std::ferror(file) != 0) throw std::runtime_error("cannot be read");
  return left != 0;
}

ProofFile::int_type ProofFile::underflow() {
  bool more = refill();
  if (!has_begun) unpacker = unpackerFor({next, left});
  has_begun = true;
  if (unpacker == nullptr) {
    setg(packed.data(), packed.data(), packed.data() + left);
    left = 0;
    return more ? traits_type::to_int_type(packed[0]) : traits_type::eof();
  }
  for (;; more = refill()) {
    if (!more && between) return traits_type::eof();
    if (between) unpacker->restart();
    const std::size_t had = left;
    std::size_t room = plain.size();
    between = unpacker->step(next, left, plain.data(), room);
    next += had - left;
    if (room != plain.size()) {
      setg(plain.data(), plain.data(), plain.data() + (plain.size() - room));
      return traits_type::to_int_type(plain[0]);
    }
    if (had == left && !between && !more) damaged();
  }
}
