/// \file
/// Files, standard input, and the three usual compressions.
#include "InputFile.h"

#include <algorithm>
#include <bzlib.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <lzma.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <zlib.h>

namespace formats {
namespace {

constexpr size_t chunk = size_t{1} << 16;

Error damaged(const char* kind) {
  return {{}, std::string("the ") + kind + " data is damaged or cut short"};
}

Error tooLong(size_t limit) {
  return {{}, "more than the limit of " + std::to_string(limit) + " bytes"};
}

/// Whether `input`, which begins behind a whole stream, is nothing but padding.
bool isPadding(std::string_view input) {
  return input.find_first_not_of('\0') == std::string_view::npos;
}

/// Feeds `input` to a decoder in portions that its 32-bit counters can hold and collects what comes
/// out. A decoder has the fields and operations that `Gzip` and `Bzip2` below show.
template <class Decoder> Result<Bytes> decode(std::string_view input, size_t limit) {
  Bytes output;
  while (!input.empty()) {
    if (Decoder::may_be_padded && isPadding(input)) break;
    Decoder decoder;
    if (!decoder.ready) throw std::bad_alloc();
    bool ended = false;
    while (!ended) {
      const std::string_view portion = input.substr(0, chunk);
      const size_t had = output.size();
      char* const out = output.extend(chunk);
      size_t left = portion.size();
      size_t room = chunk;
      if (!decoder.step(portion.data(), left, out, room, ended)) return damaged(Decoder::kind);
      // No progress before the end means that the input is used up.
      if (room == chunk && left == portion.size() && !ended) return damaged(Decoder::kind);
      output.truncate(had + chunk - room);
      if (output.size() > limit) return tooLong(limit);
      input.remove_prefix(portion.size() - left);
    }
  }
  return output;
}

struct Gzip {
  static constexpr const char* kind = "gzip";
  static constexpr bool may_be_padded = true;
  z_stream stream{};
  const bool ready = inflateInit2(&stream, 15 + 16) == Z_OK; // 16: gzip wrapping only

  Gzip() = default;
  Gzip(const Gzip&) = delete;
  Gzip& operator=(const Gzip&) = delete;
  ~Gzip() { inflateEnd(&stream); }

  /// One step from `in` to `out`; the counts become what is left over of each. False when the data
  /// is bad.
  bool step(const char* in, size_t& in_count, char* out, size_t& out_count, bool& ended) {
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in));
    stream.avail_in = static_cast<uInt>(in_count);
    stream.next_out = reinterpret_cast<Bytef*>(out);
    stream.avail_out = static_cast<uInt>(out_count);
    const int code = inflate(&stream, Z_NO_FLUSH);
    if (code == Z_MEM_ERROR) throw std::bad_alloc();
    in_count = stream.avail_in;
    out_count = stream.avail_out;
    ended = code == Z_STREAM_END;
    return ended || code == Z_OK || code == Z_BUF_ERROR;
  }
};

struct Bzip2 {
  static constexpr const char* kind = "bzip2";
  static constexpr bool may_be_padded = false;
  bz_stream stream{};
  const bool ready = BZ2_bzDecompressInit(&stream, 0, 0) == BZ_OK;

  Bzip2() = default;
  Bzip2(const Bzip2&) = delete;
  Bzip2& operator=(const Bzip2&) = delete;
  ~Bzip2() { BZ2_bzDecompressEnd(&stream); }

  bool step(const char* in, size_t& in_count, char* out, size_t& out_count, bool& ended) {
    stream.next_in = const_cast<char*>(in);
    stream.avail_in = static_cast<unsigned>(in_count);
    stream.next_out = out;
    stream.avail_out = static_cast<unsigned>(out_count);
    const int code = BZ2_bzDecompress(&stream);
    if (code == BZ_MEM_ERROR) throw std::bad_alloc();
    in_count = stream.avail_in;
    out_count = stream.avail_out;
    ended = code == BZ_STREAM_END;
    return ended || code == BZ_OK;
  }
};

Result<Bytes> decodeXz(std::string_view input, size_t limit) {
  lzma_stream stream = LZMA_STREAM_INIT;
  // What the decoder itself takes is up to the packed text.
  const std::uint64_t memory = std::max(limit, size_t{64} << 20);
  if (lzma_stream_decoder(&stream, memory, LZMA_CONCATENATED) != LZMA_OK) throw std::bad_alloc();
  const std::unique_ptr<lzma_stream, void (*)(lzma_stream*)> closer(&stream, lzma_end);
  Bytes output;
  stream.next_in = reinterpret_cast<const std::uint8_t*>(input.data());
  stream.avail_in = input.size();
  lzma_ret code = LZMA_OK;
  while (code == LZMA_OK) {
    const size_t had = output.size();
    stream.next_out = reinterpret_cast<std::uint8_t*>(output.extend(chunk));
    stream.avail_out = chunk;
    code = lzma_code(&stream, LZMA_FINISH);
    output.truncate(had + chunk - stream.avail_out);
    if (output.size() > limit) return tooLong(limit);
  }
  if (code == LZMA_MEM_ERROR) throw std::bad_alloc();
  if (code == LZMA_MEMLIMIT_ERROR)
    return Error{{},
                 "the xz data needs more than " + std::to_string(memory) +
                     " bytes of memory to be unpacked"};
  if (code != LZMA_STREAM_END) return damaged("xz");
  return output;
}

struct Closer {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};

} // namespace

Result<Bytes> unpack(Bytes bytes, size_t limit) {
  const std::string_view view = bytes;
  if (view.starts_with("\x1F\x8B")) return decode<Gzip>(view, limit);
  // "BZh" alone could be the beginning of a text; the first block's or the end's mark could not.
  if (view.starts_with("BZh") && view.size() >= 10 &&
      (view.substr(4, 6) == "1AY&SY" || view.substr(4, 6) == "\x17\x72\x45\x38\x50\x90"))
    return decode<Bzip2>(view, limit);
  if (view.starts_with("\xFD"
                       "7zXZ"))
    return decodeXz(view, limit);
  return bytes;
}

Result<Bytes> readInput(const std::string& path, size_t limit) {
  const std::unique_ptr<std::FILE, Closer> file(path == "-" ? stdin
                                                            : std::fopen(path.c_str(), "rb"));
  if (file == nullptr) return Error{{}, std::strerror(errno)};
  Bytes bytes;
  // One read gets all of a file that tells its size and does not grow.
  struct stat facts = {};
  if (fstat(fileno(file.get()), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_size > 0)
    bytes.reserve(std::min(static_cast<size_t>(facts.st_size), limit) + 1);
  while (true) {
    const size_t had = bytes.size();
    const size_t wanted = std::min(std::max(chunk, bytes.capacity() - had), limit - had + 1);
    const size_t count = std::fread(bytes.extend(wanted), 1, wanted, file.get());
    bytes.truncate(had + count);
    if (bytes.size() > limit) return tooLong(limit);
    if (count == 0) break;
  }
  if (std::ferror(file.get()) != 0) return Error{{}, std::strerror(errno)};
  return unpack(std::move(bytes), limit);
}

} // namespace formats
