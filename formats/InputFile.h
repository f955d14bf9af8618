/// \file
/// Brings in the bytes of an input, whatever they are packed with.
#ifndef QUILLON_FORMATS_INPUT_FILE_H
#define QUILLON_FORMATS_INPUT_FILE_H

#include "Result.h"

#include <string>

namespace formats {

/// The contents of the file `path`, or of standard input when `path` is "-", unpacked as
/// `unpack` does. The error has no place; its message does not repeat the path.
Result<std::string> readInput(const std::string& path);

/// `bytes` unpacked once if their first bytes say that they are gzip, bzip2 or xz data, otherwise
/// as they are. Several packed streams behind each other give their contents behind each other.
/// Refused is packed data that is damaged, cut short or followed by anything else.
Result<std::string> unpack(std::string bytes);

} // namespace formats

#endif
