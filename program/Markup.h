/// \file
/// Text and numbers as HTML pages show them. What comes out is also well-formed XML.
#ifndef QUILLON_PROGRAM_MARKUP_H
#define QUILLON_PROGRAM_MARKUP_H

#include "formats/Integer.h"

#include <string>
#include <string_view>

namespace html {

/// `text` for any place between tags or in a quoted attribute: it stands for itself there, control
/// characters are \xNN, and bytes that are no UTF-8 replacement characters.
std::string escaped(std::string_view text);

/// In decimal, with narrow spaces between groups of three digits when there are five or more.
std::string number(formats::Int value);

/// Characters of `text`, which is UTF-8.
std::size_t lettersOf(std::string_view text);

/// "12.5%", with three digits that matter.
std::string percent(double share);

/// A time span of `seconds`, with three digits that matter, in microseconds, milliseconds or
/// seconds.
std::string duration(double seconds);

/// `value` by printf, of which `format` takes a single double; the result has 40 bytes at most.
std::string printed(const char* format, double value);

} // namespace html

#endif
