/// \file
/// Plain, gzip and xz output.
#include "ProofFile.h"

#include <cstdio>
#include <lzma.h>
#include <new>
#include <utility>
#include <zlib.h>

/// How the bytes get into the file; this one as they are.
class ProofFile::Packer {
 public:
  explicit Packer(const std::string& path) : file(std::fopen(path.c_str(), "wb")) {}
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;
  virtual ~Packer() {
    if (file != nullptr) std::fclose(file);
  }
  virtual bool write(const char* bytes, std::size_t size) {
    return file != nullptr && std::fwrite(bytes, 1, size, file) == size;
  }
  /// False if not all has reached the file.
  virtual bool close() {
    std::FILE* const closing = std::exchange(file, nullptr);
    return closing != nullptr && std::fclose(closing) == 0;
  }

 private:
  std::FILE* file;
};

namespace {

constexpr std::size_t chunk = std::size_t{1} << 16;

class GzipPacker final : public ProofFile::Packer {
  z_stream stream = {};
  Bytef out[chunk];

  bool run(int flush) {
    do {
      stream.next_out = out;
      stream.avail_out = chunk;
      if (deflate(&stream, flush) == Z_STREAM_ERROR) return false;
      const std::size_t packed = chunk - stream.avail_out;
      if (!Packer::write(reinterpret_cast<const char*>(out), packed)) return false;
    } while (stream.avail_out == 0);
    return true;
  }

 public:
  explicit GzipPacker(const std::string& path) : Packer(path) {
    constexpr int gzip_window = 15 + 16;
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, gzip_window, 8, Z_DEFAULT_STRATEGY) != Z_OK)
      throw std::bad_alloc();
  }
  ~GzipPacker() override { deflateEnd(&stream); }
  bool write(const char* bytes, std::size_t size) override {
    // zlib does not change what it reads, but has no const for it.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes)); // NOLINT
    stream.avail_in = static_cast<uInt>(size);
    return run(Z_NO_FLUSH);
  }
  bool close() override {
    stream.avail_in = 0;
    const bool done = run(Z_FINISH);
    return Packer::close() && done;
  }
};

class XzPacker final : public ProofFile::Packer {
  lzma_stream stream = LZMA_STREAM_INIT;
  std::uint8_t out[chunk]{};

  bool run(lzma_action action) {
    lzma_ret result = LZMA_OK;
    do {
      stream.next_out = out;
      stream.avail_out = chunk;
      result = lzma_code(&stream, action);
      if (result != LZMA_OK && result != LZMA_STREAM_END && result != LZMA_BUF_ERROR) return false;
      const std::size_t packed = chunk - stream.avail_out;
      if (!Packer::write(reinterpret_cast<const char*>(out), packed)) return false;
    } while (stream.avail_out == 0);
    return action == LZMA_RUN || result == LZMA_STREAM_END;
  }

 public:
  explicit XzPacker(const std::string& path) : Packer(path) {
    if (lzma_easy_encoder(&stream, 1, LZMA_CHECK_CRC32) != LZMA_OK) throw std::bad_alloc();
  }
  ~XzPacker() override { lzma_end(&stream); }
  bool write(const char* bytes, std::size_t size) override {
    stream.next_in = reinterpret_cast<const std::uint8_t*>(bytes);
    stream.avail_in = size;
    return run(LZMA_RUN);
  }
  bool close() override {
    stream.avail_in = 0;
    const bool done = run(LZMA_FINISH);
    return Packer::close() && done;
  }
};

std::unique_ptr<ProofFile::Packer> packerFor(const std::string& path) {
  if (path.ends_with(".gz")) return std::make_unique<GzipPacker>(path);
  if (path.ends_with(".xz")) return std::make_unique<XzPacker>(path);
  return std::make_unique<ProofFile::Packer>(path);
}

} // namespace

ProofFile::ProofFile(const std::string& path) : packer(packerFor(path)) {
  failed = !packer->write("", 0);
}

ProofFile::~ProofFile() = default;

void ProofFile::write(const char* bytes, std::size_t size) {
  if (packer == nullptr || failed) return;
  failed = !packer->write(bytes, size);
}

void ProofFile::close() {
  if (packer == nullptr) return;
  failed |= !packer->close();
  packer.reset();
}

bool ProofFile::hasFailed() const {
  return failed;
}
