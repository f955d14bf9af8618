/// \file
/// Brings in the bytes of an input, whatever they are packed with.
#ifndef QUILLON_FORMATS_INPUT_FILE_H
#define QUILLON_FORMATS_INPUT_FILE_H

#include "Array.h"
#include "Result.h"

#include <string>
#include <string_view>

namespace formats {

/// The bytes of an input, which can be read as a `std::string_view` while they last.
class Bytes : public Array<char> {
 public:
  operator std::string_view() const { return {data(), size()}; }
};

/// The contents of the file `path`, or of standard input when `path` is "-", unpacked as
/// `unpack` does. Refused is what has more than `limit` bytes, packed or unpacked; no more are
/// ever held. The error has no place; its message does not repeat the path.
Result<Bytes> readInput(const std::string& path, std::size_t limit);

/// `bytes` unpacked once if their first bytes say that they are gzip, bzip2 or xz data, otherwise
/// as they are. Several packed streams behind each other give their contents behind each other.
/// Refused is packed data that is damaged, cut short or followed by anything else than the zeros
/// that some media pad with (gzip, xz), and what unpacks to more than `limit` bytes or needs more
/// than that, and 64 MiB, to be unpacked.
Result<Bytes> unpack(Bytes bytes, std::size_t limit);

} // namespace formats

#endif
