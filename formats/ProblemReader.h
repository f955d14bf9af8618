/// \file
/// Reads a problem without being told its format.
#ifndef QUILLON_FORMATS_PROBLEM_READER_H
#define QUILLON_FORMATS_PROBLEM_READER_H

#include "Problem.h"

#include <string_view>

namespace formats {

/// Reads `text` as our own format or as OPB, whichever fits; a text that fits both means the same
/// in both. When neither fits, the error is that of the reader that got further.
Result<Problem> readProblem(std::string_view text);

} // namespace formats

#endif
