/// \file
/// Files, standard input, and the three usual compressions.
#include "InputFile.h"

#include <bzlib.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <lzma.h>
#include <memory>
#include <string_view>
#include <zlib.h>

namespace formats {
namespace {

constexpr size_t chunk = size_t{1} << 16;

Error damaged(const char* kind) {
  return {{}, std::string("the ") + kind + " data is damaged or cut short"};
}

/// Feeds `input` to a decoder in portions that its 32-bit counters can hold and collects what comes
/// out. A decoder has the fields and operations that `Gzip` and `Bzip2` below show.
template <class Decoder> Result<std::string> decode(std::string_view input) {
  std::string output;
  std::string buffer(chunk, '\0');
  while (!input.empty()) {
    Decoder decoder;
    if (!decoder.ready) throw std::bad_alloc();
    bool ended = false;
    while (!ended) {
      const std::string_view portion = input.substr(0, chunk);
      size_t left = portion.size();
      size_t room = buffer.size();
      if (!decoder.step(portion.data(), left, buffer.data(), room, ended))
        return damaged(Decoder::kind);
      const size_t made = buffer.size() - room;
      // No progress before the end means that the input is used up.
      if (made == 0 && left == portion.size() && !ended) return damaged(Decoder::kind);
      output.append(buffer, 0, made);
      input.remove_prefix(portion.size() - left);
    }
  }
  return output;
}

struct Gzip {
  static constexpr const char* kind = "gzip";
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

Result<std::string> decodeXz(std::string_view input) {
  lzma_stream stream = LZMA_STREAM_INIT;
  if (lzma_stream_decoder(&stream, UINT64_MAX, LZMA_CONCATENATED) != LZMA_OK)
    throw std::bad_alloc();
  const std::unique_ptr<lzma_stream, void (*)(lzma_stream*)> closer(&stream, lzma_end);
  std::string output;
  std::string buffer(chunk, '\0');
  stream.next_in = reinterpret_cast<const std::uint8_t*>(input.data());
  stream.avail_in = input.size();
  lzma_ret code = LZMA_OK;
  while (code == LZMA_OK) {
    stream.next_out = reinterpret_cast<std::uint8_t*>(buffer.data());
    stream.avail_out = buffer.size();
    code = lzma_code(&stream, LZMA_FINISH);
    output.append(buffer, 0, buffer.size() - stream.avail_out);
  }
  if (code == LZMA_MEM_ERROR) throw std::bad_alloc();
  if (code != LZMA_STREAM_END) return damaged("xz");
  return output;
}

} // namespace

Result<std::string> unpack(std::string bytes) {
  const std::string_view view = bytes;
  if (view.starts_with("\x1F\x8B")) return decode<Gzip>(view);
  // "BZh" alone could be the beginning of a text; the first block's or the end's mark could not.
  if (view.starts_with("BZh") && view.size() >= 10 &&
      (view.substr(4, 6) == "1AY&SY" || view.substr(4, 6) == "\x17\x72\x45\x38\x50\x90"))
    return decode<Bzip2>(view);
  if (view.starts_with("\xFD"
                       "7zXZ"))
    return decodeXz(view);
  return bytes;
}

Result<std::string> readInput(const std::string& path) {
  const bool standard = path == "-";
  std::FILE* file = standard ? stdin : std::fopen(path.c_str(), "rb");
  if (file == nullptr) return Error{{}, std::strerror(errno)};
  std::string bytes;
  std::string buffer(chunk, '\0');
  size_t count = 0;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), file)) != 0)
    bytes.append(buffer, 0, count);
  const int reason = std::ferror(file) != 0 ? errno : 0;
  if (!standard) std::fclose(file);
  if (reason != 0) return Error{{}, std::strerror(reason)};
  return unpack(std::move(bytes));
}

} // namespace formats
